#include "config_check.h"
#include "config_example.h"
#include "config_file.h"
#include "json_output.h"
#include "reading_options.h"
#include "safe_text.h"
#include "table.h"
#include "terminal.h"
#include "verb.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

namespace nuvctl {
namespace {

struct Request {
    Reading_options reading;
    std::string config;
    bool check = false;
    bool example = false;
};

const char* kind_name(nuvkit::Value_kind kind) {
    switch (kind) {
        case nuvkit::Value_kind::on_off:
            return "switch";
        case nuvkit::Value_kind::number:
            return "number";
        case nuvkit::Value_kind::bits:
            return "bits";
        case nuvkit::Value_kind::text:
            break;
    }
    return "text";
}

nlohmann::ordered_json value_to_json(const Setting& setting) {
    switch (setting.key->kind) {
        case nuvkit::Value_kind::on_off:
            return setting.number() != 0;
        case nuvkit::Value_kind::number:
        case nuvkit::Value_kind::bits:
            return setting.used();
        case nuvkit::Value_kind::text:
            break;
    }
    return setting.text.value_or("");
}

nlohmann::ordered_json setting_to_json(const Setting& setting, const std::string& path) {
    nlohmann::ordered_json json = {{"section", setting.key->section},
                                   {"key", setting.key->name},
                                   {"kind", kind_name(setting.key->kind)},
                                   {"value", value_to_json(setting)},
                                   {"source", setting.text ? "file" : "default"},
                                   {"text", nullptr},
                                   {"file", nullptr},
                                   {"line", nullptr},
                                   {"unit", setting.key->unit},
                                   {"meaning", setting.key->meaning}};
    if (setting.text) {
        json["text"] = *setting.text;
        json["file"] = path;
        json["line"] = setting.line;
    }
    return json;
}

void print_json_answer(const Config_file& file, const std::vector<Config_remark>& remarks) {
    nlohmann::ordered_json answer = {{"schema_version", schema_version},
                                     {"file", nullptr},
                                     {"settings", nlohmann::ordered_json::array()},
                                     {"remarks", nlohmann::ordered_json::array()}};
    if (!file.path.empty()) {
        answer["file"] = file.path;
    }
    for (const Setting& setting : file.settings) {
        answer["settings"].push_back(setting_to_json(setting, file.path));
    }
    for (const Config_remark& remark : remarks) {
        answer["remarks"].push_back({{"line", remark.line}, {"what", remark.what}});
    }
    print_json(answer);
}

std::string source_of(const Setting& setting) {
    if (!setting.text) {
        return "default";
    }
    return setting.line != 0 ? "line " + std::to_string(setting.line) : "file";
}

void print_settings(const Config_file& file, const Reading_options& options) {
    if (!options.no_headings) {
        std::cout << (file.path.empty() ? "No configuration file: the defaults hold"
                                        : "Configuration file " + safe_text(file.path))
                  << '\n';
    }
    Table table;
    table.columns = {{"KEY"}, {"VALUE", false, 8}, {"FROM"}, {"WHAT IT DOES", false, 20}};
    std::string section;
    for (const Setting& setting : file.settings) {
        if (section != setting.key->section) {
            section = setting.key->section;
            table.rows.push_back({{"[" + section + "]", Color::bold}, {""}, {""}, {""}});
        }
        const Color color = setting.text ? Color::green : Color::none;
        table.rows.push_back({{setting.key->name},
                              {setting.value_text(), color},
                              {source_of(setting)},
                              {setting.key->meaning}});
    }
    table.print(!options.no_headings, wants_color(options), table_width());
}

void print_remarks(const Config_file& file, const std::vector<Config_remark>& remarks,
                   std::ostream& where, const std::string& start) {
    for (const Config_remark& remark : remarks) {
        where << start << remark_text(file, remark) << '\n';
    }
}

Exit show(const Request& request) {
    const Config_file file = read_config(request.config);
    const std::vector<Config_remark> remarks = remarks_on(file);
    if (request.reading.json) {
        print_json_answer(file, remarks);
    } else if (request.check) {
        print_remarks(file, remarks, std::cout, "");
    } else {
        print_settings(file, request.reading);
        print_remarks(file, remarks, std::cerr, "nuvctl: ");
    }
    const bool failed = request.check ? !remarks.empty() : !file.problem.empty();
    return failed ? Exit::failure : Exit::done;
}

Exit print_example() {
    std::cout << example_config();
    return Exit::done;
}

}  // namespace

Action declare_config(CLI::App& arguments) {
    auto request = std::make_shared<Request>();
    add_reading_options(arguments, request->reading);
    CLI::Option* config = arguments.add_option("--config", request->config,
                                               "Look at this file instead of the one found");
    config->check(CLI::ExistingFile);
    CLI::Option* check =
        arguments.add_flag("--check", request->check,
                           "Only say what is not understood; exit code 1 when there is something");
    arguments.add_flag("--example", request->example, "Print a commented INI file to begin with")
        ->excludes(check)
        ->excludes(config)
        ->excludes(arguments.get_option("--json"));
    arguments.footer(
        "The file is the nuv_devicemgr.ini that a device manager of this user would read.\n"
        "Examples:\n"
        "  nuvctl config --check\n"
        "  nuvctl config --example > ~/.config/nuv/nuv_devicemgr.ini");
    return [request] { return request->example ? print_example() : show(*request); };
}

}  // namespace nuvctl
