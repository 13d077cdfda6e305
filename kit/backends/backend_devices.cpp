// Opening and closing a camera's devices.
#include "backend_state.h"

#include <nuv/bits.h>
#include <nuv/result.h>

#include <algorithm>

namespace nuvkit {
namespace {

const char* open_operation(Device_kind kind) {
    return kind == Device_kind::grab ? "open_grab_device" : "open_com_device";
}

}  // namespace

const void* Open_device::handle() const {
    return kind == Device_kind::grab ? static_cast<const void*>(grab.get()) : com.get();
}

std::uint32_t open_bit(Device_kind kind) {
    return kind == Device_kind::grab ? NUV_STATUS_GRAB_OPEN : NUV_STATUS_COM_OPEN;
}

unsigned int Backend::State::open(unsigned int serialnumber, Open_devices node) {
    const Device_kind kind = node.front().kind;
    const char* operation = open_operation(kind);
    NUV_Device chosen{};
    unsigned int code = choose(serialnumber, kind, chosen);
    if (code != NUV_NOERROR) {
        owner.writelogb(NUV_LOG_ERROR, "%s: serial %u refused 0x%x", operation, serialnumber, code);
        return code;
    }
    code = source->open(kind, chosen.extended_info);
    if (code != NUV_NOERROR) {
        owner.writelogb(NUV_LOG_ERROR, "%s: serial %u failed 0x%x", operation, serialnumber, code);
        return code;
    }
    code = record(chosen, node);
    if (code != NUV_NOERROR) {
        source->close(kind, chosen.extended_info);
        owner.writelogb(NUV_LOG_ERROR, "%s: serial %u taken meanwhile 0x%x", operation,
                        serialnumber, code);
        return code;
    }
    owner.writelogb(NUV_LOG_TRACE, "%s: serial %u id %u opened", operation, serialnumber,
                    +chosen.id);
    return NUV_NOERROR;
}

// The entry that the serial number stands for, if this process may open its camera. The holder's
// process is looked up without holding the registry.
unsigned int Backend::State::choose(unsigned int serialnumber, Device_kind kind,
                                    NUV_Device& entry) {
    {
        Registry_hold hold(owner);
        if (!hold) {
            return NUV_ERROR_NOMEMORY;
        }
        const int index = find_serialnumber(hold.registry(), owner.if_type, serialnumber);
        if (index < 0) {
            return NUV_ERROR_NOT_FOUND;
        }
        entry = hold.registry().nuvdevice[index];
    }
    if ((entry.status_bits & NUV_STATUS_PRESENT) == 0) {
        return NUV_BACKEND_UNPLUGGED;
    }
    const Holder holder = holder_of(entry);
    if (!is_open(entry) || !is_alive(holder)) {
        return NUV_NOERROR;
    }
    const bool ours = holder == current_process();
    return ours && (entry.status_bits & open_bit(kind)) == 0 ? NUV_NOERROR : NUV_BACKEND_BUSY;
}

// The source may have taken long: what was true of the entry is looked at again.
unsigned int Backend::State::record(const NUV_Device& chosen, Open_devices& node) {
    const Holder self = current_process();
    const std::uint32_t bit = open_bit(node.front().kind);
    node.front().key = chosen.extended_info;

    Registry_hold hold(owner);
    if (!hold) {
        return NUV_ERROR_NOMEMORY;
    }
    const int index = find_camera(hold.registry(), owner.if_type, chosen.extended_info);
    if (index < 0) {
        return NUV_BACKEND_UNPLUGGED;
    }
    NUV_Device& entry = hold.registry().nuvdevice[index];
    if ((entry.status_bits & NUV_STATUS_PRESENT) == 0) {
        return NUV_BACKEND_UNPLUGGED;
    }
    const Holder holder = holder_of(entry);
    if (is_open(entry) && holder != self) {
        if (holder != holder_of(chosen)) {
            return NUV_BACKEND_BUSY;
        }
        entry.status_bits &= ~open_bits;  // the dead one's
    }
    if ((entry.status_bits & bit) != 0) {
        return NUV_BACKEND_BUSY;
    }
    mark_open(entry, bit, self);
    const std::lock_guard lock(mutex);
    devices.splice(devices.end(), node);
    return NUV_NOERROR;
}

unsigned int Backend::State::close(const void* handle, const char* operation) {
    Open_devices::iterator device;
    {
        const std::lock_guard lock(mutex);
        device = std::find_if(devices.begin(), devices.end(), [&](const Open_device& one) {
            return one.handle() == handle && !one.closing;
        });
        if (device != devices.end()) {
            device->closing = true;
        }
    }
    if (device == devices.end()) {
        owner.writelogb(NUV_LOG_ERROR, "%s: handle %p is not open", operation, handle);
        return NUV_BACKEND_BAD_HANDLE;
    }
    const unsigned int code = close_source(*device);
    if (code != NUV_NOERROR) {
        owner.writelogb(NUV_LOG_ERROR, "%s: handle %p failed 0x%x", operation, handle, code);
        const std::lock_guard lock(mutex);
        device->closing = false;
        return code;
    }
    owner.writelogb(NUV_LOG_TRACE, "%s: handle %p closed", operation, handle);
    forget(device);
    return NUV_NOERROR;
}

// A source that throws has not closed: the handle may be closed again.
unsigned int Backend::State::close_source(const Open_device& device) try {
    return source->close(device.kind, device.key);
} catch (...) {
    return NUV_ERROR_NOMEMORY;
}

void Backend::State::forget(Open_devices::iterator device) {
    const Holder self = current_process();
    Open_devices closed;
    Registry_hold hold(owner);
    if (hold) {
        const int index = find_camera(hold.registry(), owner.if_type, device->key);
        if (index >= 0 && holder_of(hold.registry().nuvdevice[index]) == self) {
            mark_closed(hold.registry(), index, open_bit(device->kind));
        }
    }
    const std::lock_guard lock(mutex);
    closed.splice(closed.end(), devices, device);
}

// Nobody is left to try again: what the source answers changes nothing.
void Backend::State::close_all() {
    if (!in_own_process()) {
        return;
    }
    while (!devices.empty()) {
        const auto device = devices.begin();
        if (const unsigned int code = close_source(*device); code != NUV_NOERROR) {
            owner.writelogb(NUV_LOG_ERROR, "%s: handle %p failed 0x%x", "~Backend",
                            device->handle(), code);
        }
        forget(device);
    }
}

}  // namespace nuvkit
