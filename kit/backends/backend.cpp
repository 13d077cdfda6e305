#include "backend_state.h"

#include <nuv/bits.h>
#include <nuv/result.h>

#include <nuvkit/backend.h>

#include <unistd.h>

#include <new>

namespace nuvkit {
namespace {

template <class Operation>
unsigned int answer_for_memory(Operation operation) try {
    return operation();
} catch (const std::bad_alloc&) {
    return NUV_ERROR_NOMEMORY;
}

template <class Handle>
Handle* fill(Open_devices& node, Device_kind kind, std::unique_ptr<Handle> Open_device::*member,
             unsigned int serialnumber) {
    Open_device& device = node.emplace_back();
    device.kind = kind;
    device.*member = std::make_unique<Handle>(serialnumber);
    return (device.*member).get();
}

}  // namespace

Backend::Backend(CNuv_Log* log, unsigned int bits, unsigned short iftype,
                 std::unique_ptr<Camera_source> source)
    : CNuv_interface(log, bits), state(std::make_unique<State>(*this, std::move(source))) {
    if_type = iftype;
    // Looked up while there are descriptors: a camera that is marked with half of who holds it
    // would stay in use.
    current_process();
}

Backend::~Backend() {
    state->close_all();
    state->count_out();
}

unsigned int Backend::initialize() {
    if (!shm_valid()) {
        return NUV_ERROR_NOMEMORY;
    }
    const unsigned int code = state->source->initialize();
    state->log_remarks("initialize");
    if (code != NUV_NOERROR) {
        return code;
    }
    state->count_in();
    // Whatever it answers, the next scan may do better: the back-end itself is ready.
    answer_for_memory([this] { return state->update(); });
    return NUV_NOERROR;
}

unsigned int Backend::find_devices(std::vector<NUV_Device>& found) {
    return answer_for_memory([&] {
        std::vector<Camera> cameras;
        if (const unsigned int code = state->find(cameras, "find_devices"); code != NUV_NOERROR) {
            return code;
        }
        found.reserve(found.size() + cameras.size());
        for (const Camera& camera : cameras) {
            found.push_back(device_of(camera, if_type));
        }
        return NUV_NOERROR;
    });
}

unsigned int Backend::update_devices_in_shmlist() {
    return answer_for_memory([&] { return state->update(); });
}

unsigned int Backend::open_grab_device(unsigned int serialnumber, CNuv_grab** grab) {
    if (grab == nullptr) {
        return NUV_BACKEND_BAD_HANDLE;
    }
    return answer_for_memory([&] {
        Open_devices node;
        CNuv_grab* handle = fill(node, Device_kind::grab, &Open_device::grab, serialnumber);
        const unsigned int code = state->open(serialnumber, std::move(node));
        if (code == NUV_NOERROR) {
            *grab = handle;
        }
        return code;
    });
}

unsigned int Backend::open_com_device(unsigned int serialnumber, CNuv_com** com) {
    if (com == nullptr) {
        return NUV_BACKEND_BAD_HANDLE;
    }
    return answer_for_memory([&] {
        Open_devices node;
        CNuv_com* handle = fill(node, Device_kind::com, &Open_device::com, serialnumber);
        const unsigned int code = state->open(serialnumber, std::move(node));
        if (code == NUV_NOERROR) {
            *com = handle;
        }
        return code;
    });
}

unsigned int Backend::close_grab_device(CNuv_grab* grab) {
    return answer_for_memory([&] { return state->close(grab, "close_grab_device"); });
}

unsigned int Backend::close_com_device(CNuv_com* com) {
    return answer_for_memory([&] { return state->close(com, "close_com_device"); });
}

Backend::State::State(Backend& backend, std::unique_ptr<Camera_source> cameras)
    : owner(backend), source(std::move(cameras)), process_id(getpid()) {}

bool Backend::State::in_own_process() const {
    return getpid() == process_id;
}

void Backend::State::count_in() {
    if (counted_in) {
        return;
    }
    const unsigned short users = owner.shm_increase_opencount(owner.if_type);
    counted_in = users != 0 && users != NUV_COUNT_NOT_ATTACHED;
}

void Backend::State::count_out() {
    if (!counted_in || !in_own_process()) {
        return;
    }
    // In one hold: nobody can count in, and list cameras, before the entries are deleted. A count
    // that a clear of the registry has taken away does not fall to 0: others may have lost theirs.
    Registry_hold hold(owner);
    if (hold && users_of(hold.registry(), owner.if_type) != 0 &&
        owner.shm_decrease_opencount(owner.if_type) == 0) {
        owner.delete_devices_in_shmlist();
    }
}

}  // namespace nuvkit
