#include "inventory.h"

#include "fail.h"

#include <fstream>
#include <iterator>

namespace nuv_bench {
namespace {

// By interface type, in the order of `inventory_iftypes`.
constexpr const char* names[] = {"GIGE", "USB2", "ME4", "USB3", "CLHS_SISO", "CLHS_KAYA"};

}  // namespace

Inventory::Inventory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "nuv_bench.XXXXXX").string();
    require(mkdtemp(pattern.data()) != nullptr, "cannot make a folder for INI files");
    folder = pattern;
    std::ofstream text(file());
    for (int number = 0; number < inventory_cameras; ++number) {
        text << "[Camera " << number
             << "]\ninterface = " << names[static_cast<std::size_t>(number) % std::size(names)]
             << "\nserial = " << 7000 + number << "\nname = Camera " << number
             << " of the line\n\n";
    }
    setenv("NUV_INI_PATH", folder.c_str(), 1);
}

Inventory::~Inventory() {
    unsetenv("NUV_INI_PATH");
    std::filesystem::remove_all(folder);
}

}  // namespace nuv_bench
