#include "diagnosis_report.h"

#include "registry_report.h"
#include "safe_text.h"
#include "table.h"
#include "terminal.h"

#include <algorithm>
#include <cstring>
#include <iostream>
#include <nlohmann/json.hpp>
#include <sstream>

namespace nuvctl {
namespace {

const char* word_for(Verdict verdict) {
    switch (verdict) {
        case Verdict::ok:
            return "ok";
        case Verdict::warning:
            return "warning";
        case Verdict::problem:
            break;
    }
    return "problem";
}

Color color_of(Verdict verdict) {
    switch (verdict) {
        case Verdict::ok:
            return Color::green;
        case Verdict::warning:
            return Color::yellow;
        case Verdict::problem:
            break;
    }
    return Color::red;
}

/// Breaks a text between words into lines of at most `width` columns; 0: one line.
std::vector<std::string> wrapped(const std::string& text, std::size_t width) {
    std::vector<std::string> lines(1);
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        std::string& line = lines.back();
        const std::size_t needed = display_width(line) + 1 + display_width(word);
        if (line.empty()) {
            line = word;
        } else if (width == 0 || needed <= width) {
            line += " " + word;
        } else {
            lines.push_back(word);
        }
    }
    return lines;
}

void add_rows(Table& table, const Diagnosis& diagnosis, std::size_t width) {
    const Finding& finding = diagnosis.finding;
    Cell verdict{word_for(finding.verdict), color_of(finding.verdict)};
    Cell name{diagnosis.check->name, Color::bold};
    for (const std::string& fact : finding.facts) {
        for (const std::string& line : wrapped(fact, width)) {
            table.rows.push_back({verdict, name, {line}});
            verdict = {};
            name = {};
        }
    }
    for (const std::string& remedy : finding.remedies) {
        table.rows.push_back({{""}, {""}, {"$ " + remedy, Color::bold}});  // whole, to be copied
    }
}

std::size_t width_before_facts(const std::vector<Diagnosis>& diagnoses) {
    std::size_t verdict = 0;
    std::size_t name = 0;
    for (const Diagnosis& diagnosis : diagnoses) {
        verdict = std::max(verdict, std::strlen(word_for(diagnosis.finding.verdict)));
        name = std::max(name, std::strlen(diagnosis.check->name));
    }
    return verdict + column_gap + name + column_gap;
}

}  // namespace

void print_diagnoses(const std::vector<Diagnosis>& diagnoses, bool colors) {
    const std::size_t before_text = width_before_facts(diagnoses);
    const std::size_t width = table_width();
    Table table;
    table.columns = {{"VERDICT"}, {"CHECK"}, {"FACTS"}};
    for (const Diagnosis& diagnosis : diagnoses) {
        add_rows(table, diagnosis, width > before_text ? width - before_text : 0);
    }
    table.print(false, colors, 0);
}

nlohmann::ordered_json diagnoses_to_json(const Facts& facts,
                                         const std::vector<Diagnosis>& diagnoses) {
    nlohmann::ordered_json answer = json_answer(facts.view());
    answer["verdict"] = word_for(worst_of(diagnoses));
    answer["checks"] = nlohmann::ordered_json::array();
    for (const Diagnosis& diagnosis : diagnoses) {
        answer["checks"].push_back({{"name", diagnosis.check->name},
                                    {"verdict", word_for(diagnosis.finding.verdict)},
                                    {"facts", diagnosis.finding.facts},
                                    {"remedies", diagnosis.finding.remedies}});
    }
    return answer;
}

}  // namespace nuvctl
