#include "result_text.h"

#include <nuv/result.h>

#include <nuvkit/backend.h>

#include <cstdio>

namespace nuvctl {
namespace {

const char* meaning(unsigned int code) {
    switch (code) {
        case NUV_NOERROR:
            return "done";
        case NUV_ERROR_NOMEMORY:
            return "the registry cannot be created, attached to or used";
        case NUV_ERROR_NOT_FOUND:
            return "not found";
        case NUV_ERROR_INIT:
            return "the registry cannot be opened";
        case NUV_BACKEND_BUSY:
            return "the camera is in use";
        case NUV_BACKEND_UNPLUGGED:
            return "the camera is unplugged";
        case NUV_BACKEND_BAD_HANDLE:
            return "not an open device";
        default:
            return "a code of the interface's own";
    }
}

}  // namespace

std::string result_text(unsigned int code) {
    char number[16];
    std::snprintf(number, sizeof number, "0x%08X", code);
    return std::string(number) + " (" + meaning(code) + ")";
}

}  // namespace nuvctl
