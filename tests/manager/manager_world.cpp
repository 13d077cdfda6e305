#include "manager_world.h"

#include <stdexcept>

namespace manager_test {

unsigned int throws(Step /*step*/) {
    throw std::runtime_error("call");
}

void Manager_test::initialize_quietly(const std::string& text) {
    configure(text);
    ASSERT_EQ(manager->Initialize(), NUV_NOERROR);
    manager->stop_threads();
    record.clear();
}

unsigned int Manager_test::add_camera(unsigned short iftype, unsigned int serialnumber) const {
    NUV_Device camera{};
    unsigned int id = 0;
    manager->shm_mgr->get_next_id(id);
    camera.id = id;
    camera.serialnumber = serialnumber;
    camera.nuv_iftype = iftype;
    camera.status_bits = NUV_STATUS_PRESENT;
    EXPECT_EQ(manager->shm_mgr->set_nuvdevice_to_free_listentry(camera), 0U);
    return id;
}

}  // namespace manager_test
