#include "nuvctl/hand_made_registry.h"
#include "nuvctl/tool.h"
#include "support/child_process.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using namespace nuv_test;

/// What bash would offer for the last of the words.
std::vector<std::string> offered(const std::string& words) {
    const std::string script =
        "source <(\"$0\" completion bash); COMP_WORDS=(\"$0\" \"$@\"); COMP_CWORD=$#; "
        "_nuvctl \"$0\" \"${COMP_WORDS[COMP_CWORD]}\" \"${COMP_WORDS[COMP_CWORD - 1]}\"; "
        "printf '%s\\n' \"${COMPREPLY[@]}\"";
    std::vector<std::string> command{"/bin/bash", "-c", script, tool_path()};
    std::istringstream each(words);
    for (std::string word; each >> word;) {
        command.push_back(word == "''" ? "" : word);
    }
    Child bash(command);
    std::vector<std::string> answers;
    while (const auto line = bash.read_line()) {
        answers.push_back(*line);
    }
    return answers;
}

using Words = std::vector<std::string>;

TEST(Completion, OffersVerbsOptionsAndCameras) {
    publish(registry_with({camera(17, 8, 1, "two words"), camera(18, 5, 2, "")}));
    EXPECT_EQ(offered("sho"), Words{"show"});
    EXPECT_EQ(offered("open ''"), (Words{"17", "18"}));
    EXPECT_EQ(offered("wait G"), Words{"GIGE"});
    EXPECT_EQ(offered("wait 17 --ti"), Words{"--timeout"});
    EXPECT_EQ(offered("--no"), Words{"--no-headings"});
    EXPECT_EQ(offered("list --color = al"), Words{"always"});
    EXPECT_EQ(offered("completion ''"), Words{"bash"});
}

TEST(Manual, HasEveryVerbAndOption) {
    const std::string manual = text_of_file(NUVCTL_MANUAL);
    for (const std::string& verb : offered("''")) {
        EXPECT_NE(manual.find("\n.SS " + verb), std::string::npos) << verb;
        for (std::string option : offered(verb + " -")) {
            for (std::size_t i = 0; (i = option.find('-', i)) != std::string::npos; i += 2) {
                option.insert(i, "\\");
            }
            EXPECT_NE(manual.find(option), std::string::npos) << verb << ' ' << option;
        }
    }
}

}  // namespace
