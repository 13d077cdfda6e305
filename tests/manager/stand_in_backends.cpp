#include "stand_in_backends.h"

#include <nuv/iftype.h>

#include <nuvkit/backend.h>

#include <cstdint>
#include <map>
#include <stdexcept>

namespace manager_test {

namespace {

std::map<unsigned short, Stand_in> all;

}  // namespace

Stand_in& stand_in(unsigned short iftype) {
    return all[iftype];
}

void reset_stand_ins() {
    all.clear();
}

namespace {

class Stand_in_interface : public CNuv_interface {
public:
    Stand_in_interface(CNuv_Log* log, unsigned int bits, unsigned short iftype)
        : CNuv_interface(log, bits), self(stand_in(iftype)) {
        if (self.throws_in_constructor) {
            throw std::runtime_error("constructor");
        }
        if_type = iftype;
        ++self.constructed;
        self.log = log;
        self.bits = bits;
        self.difftime_out = difftime_out;
    }
    ~Stand_in_interface() override { ++self.destroyed; }

    unsigned int initialize() override {
        if (self.throws_in_initialize) {
            throw std::runtime_error("initialize");
        }
        return self.initialize_result;
    }
    unsigned int find_devices(std::vector<NUV_Device>& /*found*/) override { return 0; }
    unsigned int update_devices_in_shmlist() override {
        ++self.updates;
        return called("update", self.update_result);
    }
    unsigned int open_grab_device(unsigned int serialnumber, CNuv_grab** grab) override {
        return open(serialnumber, grab);
    }
    unsigned int close_grab_device(CNuv_grab* /*grab*/) override { return close(); }
    unsigned int open_com_device(unsigned int serialnumber, CNuv_com** com) override {
        return open(serialnumber, com);
    }
    unsigned int close_com_device(CNuv_com* /*com*/) override { return close(); }

private:
    unsigned int called(const char* what, unsigned int result) {
        writelogb(2, "%s: back-end called", what);
        if (self.throws_in_calls) {
            throw std::runtime_error("call");
        }
        if (self.during_call) {
            self.during_call();
        }
        return result;
    }
    template <class Handle>
    unsigned int open(unsigned int serialnumber, Handle** handle) {
        ++self.opens;
        writelogb(2, "%s: serial number %u", "open", serialnumber);
        if (self.open_result == 0) {
            const int number = self.hands_out_one_handle ? 1 : self.opens;
            *handle = reinterpret_cast<Handle*>(static_cast<std::uintptr_t>(number) * 0x100);
        }
        return called("open", self.open_result);
    }
    unsigned int close() {
        ++self.closes;
        return called("close", self.close_result);
    }

    Stand_in& self;
};

}  // namespace
}  // namespace manager_test

// The manager allocates what the kit's headers say.
static_assert(sizeof(manager_test::Stand_in_interface) == sizeof(nuvkit::Backend));

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
