#include "manager_world.h"

#include <ctime>
#include <sstream>

namespace manager_test {
namespace {

void hide_number(std::string& text, const std::string& before) {
    const std::size_t found = text.find(before);
    if (found != std::string::npos) {
        const std::size_t start = found + before.size();
        text.replace(start, text.find(' ', start) - start, "#");
    }
}

/// "Jun  4 2025"
void hide_date_at_end(std::string& text) {
    constexpr std::size_t length = 11;
    tm parsed{};
    if (text.size() > length &&
        strptime(text.c_str() + text.size() - length, "%b %e %Y", &parsed) != nullptr) {
        text.replace(text.size() - length, length, "DATE");
    }
}

/// "LEVEL operation: text"
std::string as_told(const nuv_test::Log_line& line) {
    const std::string prefix = "CNuv_dev_manager::";
    std::string text = line.text;
    if (static_cast<unsigned int>(line.source) == NUV_BIT_LOG_DEVICE_MANAGER) {
        EXPECT_EQ(text.rfind(prefix, 0), 0U) << text;
        text.erase(0, prefix.size());
    }
    for (const char* before : {"thread_scan 0x", "thread time 0x", "until thread 0x", "t_id "}) {
        hide_number(text, before);
    }
    hide_date_at_end(text);
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
