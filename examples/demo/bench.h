// The bench: cameras that exist in an INI file, and a folder of configuration to find it in.
#pragma once

#include <string>
#include <vector>

namespace demo {

struct Bench_camera {
    std::string interface;
    unsigned int serialnumber;
    std::string name;
    bool plugged;
};

/// A temporary folder that all processes of the demo find their INI files in.
class Bench {
public:
    explicit Bench(std::vector<Bench_camera> all_cameras);
    Bench(const Bench&) = delete;
    Bench& operator=(const Bench&) = delete;
    ~Bench();

    void plug(const std::string& name, bool in);

private:
    void write_inventory() const;

    std::string folder;
    std::vector<Bench_camera> cameras;
};

}  // namespace demo
