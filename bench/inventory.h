// An INI folder with bench cameras, for the rows that need whole back-ends.
#pragma once

#include <filesystem>
#include <string>

namespace nuv_bench {

constexpr int inventory_cameras = 128;
/// In which the cameras are dealt out.
constexpr unsigned int inventory_iftypes[] = {5, 6, 7, 8, 12, 13};

/// The only folder in which INI files are looked for, while this object lives: 128 cameras, dealt
/// out to the six interface types.
class Inventory {
public:
    Inventory();
    Inventory(const Inventory&) = delete;
    Inventory& operator=(const Inventory&) = delete;
    ~Inventory();

    std::string file() const { return (folder / "nuv_cameras.ini").string(); }

private:
    std::filesystem::path folder;
};

}  // namespace nuv_bench
