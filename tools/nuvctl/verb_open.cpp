#include "camera_changes.h"
#include "manager_session.h"
#include "process_text.h"
#include "registry_report.h"
#include "registry_view.h"
#include "result_text.h"
#include "stop_signals.h"
#include "verb.h"

#include <nuv/device_manager.h>
#include <nuv/result.h>

#include <nuvkit/backend.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <iostream>
#include <memory>

namespace nuvctl {
namespace {

struct Request {
    unsigned int id = 0;
    std::string config;
};

/// The entry as it is now; free of any camera when the id is unknown.
NUV_Device look_up(unsigned int id) {
    NUV_Device device = {};
    nuv_dev_manager->shm_mgr->get_nuvdevice_from_id(id, device);
    return device;
}

Exit report_refusal(unsigned int id, const char* what, unsigned int code) {
    const NUV_Device device = look_up(id);
    std::cerr << "nuvctl: camera " << id;
    if (code == NUV_BACKEND_BUSY) {
        const nuvkit::Holder holder = nuvkit::holder_of(device);
        std::cerr << " is in use" << (holder.process_id != 0 ? " by " + holder_text(holder) : "")
                  << '\n';
        return Exit::busy;
    }
    const bool known = id != 0 && device.id == id;
    if (code == NUV_BACKEND_UNPLUGGED ||
        (known && (device.status_bits & NUV_STATUS_PRESENT) == 0)) {
        std::cerr << " is unplugged\n";
        return Exit::not_found;
    }
    if (code == NUV_ERROR_NOT_FOUND && !known) {
        std::cerr << " is not in the registry\n";
        return Exit::not_found;
    }
    if (code == NUV_ERROR_NOT_FOUND) {
        std::cerr << " cannot be opened: its interface is not running in this process\n";
        return Exit::failure;
    }
    std::cerr << " cannot be opened: " << what << " answers " << result_text(code) << '\n';
    return Exit::failure;
}

bool closed(unsigned int id, const char* what, unsigned int code) {
    if (code != NUV_NOERROR) {
        std::cerr << "nuvctl: camera " << id << " cannot be closed: " << what << " answers "
                  << result_text(code) << '\n';
    }
    return code == NUV_NOERROR;
}

/// A process that died may hold `sem_update` for good, and our manager's scans, opens and end would
/// wait for it without end: wait here, before it starts, where one can be interrupted.
/// \return `Exit::done` when the registry is live and the semaphore free
Exit wait_for_turn(Stop_signals& signals) {
    for (int tries = 0; tries < 600; ++tries) {
        const Registry_view view = look_at_registry();
        // Ids are handed out anew when a registry is created or cleared: without a live one, the
        // id that was asked for means nothing.
        if (view.state != Registry_state::live) {
            report_problem(view);
            return exit_code_for(view.state);
        }
        if (value_of(view.bytes->sem_update) > 0) {
            return Exit::done;
        }
        if (tries == 10) {
            std::cerr << "nuvctl: waiting: another process holds sem_update\n";
        }
        if (signals.came_within(std::chrono::milliseconds(50))) {
            std::cerr << "nuvctl: interrupted while another process held sem_update\n";
            return Exit::failure;
        }
    }
    std::cerr << "nuvctl: another process has held sem_update for 30 s\n";
    return Exit::timeout;
}

void announce(unsigned int id) {
    std::cout << "camera " << id << " is open: " << description(look_up(id)) << std::endl;
}

Exit hold(unsigned int id, Stop_signals& signals) {
    CNuv_grab* grab = nullptr;
    const unsigned int grab_code = nuv_dev_manager->open_grab_device_from_id(id, &grab);
    if (grab_code != NUV_NOERROR) {
        return report_refusal(id, "the grabber", grab_code);
    }
    CNuv_com* com = nullptr;
    const unsigned int com_code = nuv_dev_manager->open_com_device_from_id(id, &com);
    if (com_code != NUV_NOERROR) {
        closed(id, "the grabber", nuv_dev_manager->close_grab_device(grab));
        return report_refusal(id, "the communication", com_code);
    }
    announce(id);
    signals.wait();
    const bool com_closed = closed(id, "the communication", nuv_dev_manager->close_com_device(com));
    const bool grab_closed = closed(id, "the grabber", nuv_dev_manager->close_grab_device(grab));
    if (!com_closed || !grab_closed) {
        return Exit::failure;
    }
    std::cout << "camera " << id << " is closed" << std::endl;
    return Exit::done;
}

Exit open_camera(const Request& request) {
    Stop_signals signals;
    const Exit turn = wait_for_turn(signals);
    if (turn != Exit::done) {
        return turn;
    }
    const Manager_session session(request.config);
    return session.started() == Exit::done ? hold(request.id, signals) : session.started();
}

}  // namespace

Action declare_open(CLI::App& arguments) {
    auto request = std::make_shared<Request>();
    arguments.add_option("id", request->id, "The camera's registry id, as `nuvctl list` shows it")
        ->required()
        ->type_name("ID");
    arguments.add_option("--config", request->config, "Use this INI file instead of the one found")
        ->check(CLI::ExistingFile);
    arguments.footer(
        "Opens the grabber and the communication device, and closes them at SIGINT or SIGTERM.\n"
        "Exit code 3 when no such camera is there, 4 when it is in use, 7 when no device manager\n"
        "runs: ids mean nothing then.\n"
        "Example:\n"
        "  nuvctl open 3");
    return [request] { return open_camera(*request); };
}

}  // namespace nuvctl
