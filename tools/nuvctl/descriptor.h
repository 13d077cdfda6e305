// An open file that is closed with its owner.
#pragma once

#include <unistd.h>

namespace nuvctl {

class Descriptor {
public:
    explicit Descriptor(int opened) : number(opened) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number >= 0) {
            close(number);
        }
    }

    const int number;
};

}  // namespace nuvctl
