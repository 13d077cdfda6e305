#include "manager_world.h"

#include <regex>
#include <sstream>

namespace manager_test {
namespace {

/// "LEVEL operation: text"
std::string as_told(const nuv_test::Log_line& line) {
    const std::string prefix = "CNuv_dev_manager::";
    std::string text = line.text;
    if (static_cast<unsigned int>(line.source) == NUV_BIT_LOG_DEVICE_MANAGER) {
        EXPECT_EQ(text.rfind(prefix, 0), 0U) << text;
        text.erase(0, prefix.size());
    }
    static const std::regex thread("(thread_scan|thread time|until thread) 0x[0-9a-f]+");
    static const std::regex holder("t_id [0-9]+");
    static const std::regex date("[A-Z][a-z]{2} [ 123][0-9] [0-9]{4}$");
    text = std::regex_replace(text, thread, "$1 #");
    text = std::regex_replace(text, holder, "t_id #");
    text = std::regex_replace(text, date, "DATE");
    std::ostringstream told;
    told << std::hex << line.level << ' ' << text;
    return told.str();
}

bool is_by(const std::string& told, const std::string& operation) {
    return told.compare(told.find(' ') + 1, operation.size() + 2, operation + ": ") == 0;
}

}  // namespace

Lines told(const nuv_test::Log_record& record) {
    Lines found;
    for (const nuv_test::Log_line& line : record.lines()) {
        const std::string text = as_told(line);
        if (!is_by(text, "scan_interfaces_thread") && !is_by(text, "time_stamp_thread")) {
            found.push_back(text);
        }
    }
    return found;
}

Lines told_by(const nuv_test::Log_record& record, const std::string& operation) {
    Lines found;
    for (const nuv_test::Log_line& line : record.lines()) {
        std::string text = as_told(line);
        if (is_by(text, operation)) {
            found.push_back(text.erase(text.find(' ') + 1, operation.size() + 2));
        }
    }
    return found;
}

unsigned int add_camera(CNuv_device_manager& manager, unsigned short iftype,
                        unsigned int serialnumber) {
    unsigned int id = 0;
    EXPECT_EQ(manager.shm_mgr->get_next_id(id), 0U);
    NUV_Device camera{};
    camera.id = id;
    camera.serialnumber = serialnumber;
    camera.nuv_iftype = iftype;
    camera.status_bits = NUV_STATUS_PRESENT;
    EXPECT_EQ(manager.shm_mgr->set_nuvdevice_to_free_listentry(camera), 0U);
    return id;
}

bool update_is_free(const CNuv_device_manager& manager) {
    int value = 0;
    sem_getvalue(manager.shm_mgr->sema_update->sem, &value);
    return value == 1;
}

void Manager_test::initialize_quietly(const std::string& text) {
    configure(text);
    ASSERT_EQ(manager->Initialize(), NUV_NOERROR);
    manager->stop_threads();
    record.clear();
}

}  // namespace manager_test
