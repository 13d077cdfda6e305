#include <nuvkit/camera_source.h>

namespace nuvkit {

Camera_source::~Camera_source() = default;

}  // namespace nuvkit
