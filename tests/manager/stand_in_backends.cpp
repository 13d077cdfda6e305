#include "stand_in_backends.h"

#include <nuv/iftype.h>
#include <nuv/interface.h>

#include <nuvkit/backend.h>

#include <cstdint>
#include <map>

namespace manager_test {
namespace {

std::map<unsigned short, Stand_in> all;

class Stand_in_interface : public CNuv_interface {
public:
    Stand_in_interface(CNuv_Log* log, unsigned int bits, unsigned short iftype)
        : CNuv_interface(log, bits), self(stand_in(iftype)) {
        if_type = iftype;
        run(Step::construct);
    }
    ~Stand_in_interface() override { ++self.count(Step::destroy); }

    unsigned int initialize() override { return run(Step::initialize); }
    unsigned int find_devices(std::vector<NUV_Device>& /*found*/) override { return 0; }
    unsigned int update_devices_in_shmlist() override { return run(Step::update); }
    unsigned int open_grab_device(unsigned int serialnumber, CNuv_grab** grab) override {
        return open(serialnumber, grab);
    }
    unsigned int close_grab_device(CNuv_grab* /*grab*/) override { return run(Step::close); }
    unsigned int open_com_device(unsigned int serialnumber, CNuv_com** com) override {
        return open(serialnumber, com);
    }
    unsigned int close_com_device(CNuv_com* /*com*/) override { return run(Step::close); }

private:
    unsigned int run(Step step) {
        ++self.count(step);
        writelogb(2, "%s: step %d", "stand-in", static_cast<int>(step));
        return self.in_step ? self.in_step(step) : 0;
    }
    template <class Handle>
    unsigned int open(unsigned int serialnumber, Handle** handle) {
        writelogb(2, "%s: serial number %u", "stand-in", serialnumber);
        const unsigned int result = run(Step::open);
        if (result == 0) {
            const auto opens = static_cast<std::uintptr_t>(self.count(Step::open));
            *handle = reinterpret_cast<Handle*>(opens * 16 + if_type);
        }
        return result;
    }

    Stand_in& self;
};

}  // namespace

Stand_in& stand_in(unsigned short iftype) {
    return all[iftype];
}

void forget_stand_ins() {
    all.clear();
}

// The manager allocates what the kit's headers say.
static_assert(sizeof(Stand_in_interface) == sizeof(nuvkit::Backend));

}  // namespace manager_test

#define STAND_IN_FOR(class_name, iftype)                                    \
    class NUV_EXPORT class_name : public manager_test::Stand_in_interface { \
    public:                                                                 \
        class_name(CNuv_Log* log, unsigned int bits);                       \
    };                                                                      \
    class_name::class_name(CNuv_Log* log, unsigned int bits)                \
        : Stand_in_interface(log, bits, iftype) {}

STAND_IN_FOR(CNuv_interface_usb2, NUV_IFTYPE_USB2)
STAND_IN_FOR(CNuv_interface_usb3, NUV_IFTYPE_USB3)
STAND_IN_FOR(CNuv_interface_me4, NUV_IFTYPE_ME4)
STAND_IN_FOR(CNuv_interface_clhs_me5, NUV_IFTYPE_CLHS_ME5)
STAND_IN_FOR(CNuv_interface_clhs_kaya, NUV_IFTYPE_CLHS_KAYA)
STAND_IN_FOR(CNuv_interface_gige, NUV_IFTYPE_GIGE)
