#include "manager/backend_table.h"

#include <nuv/iftype.h>

#include <nuvkit/interface_clhs_kaya.h>
#include <nuvkit/interface_clhs_me5.h>
#include <nuvkit/interface_gige.h>
#include <nuvkit/interface_me4.h>
#include <nuvkit/interface_usb2.h>
#include <nuvkit/interface_usb3.h>

namespace nuv {
namespace {

template <class Backend>
std::unique_ptr<CNuv_interface> create(CNuv_Log* log, unsigned int general_bits) {
    return std::make_unique<Backend>(log, general_bits);
}

}  // namespace

// clang-format off
const std::array<Backend_row, 6> backend_table = {{
    {NUV_IFTYPE_USB2, "CNuv_interface_usb2", "if_usb", true, create<CNuv_interface_usb2>},
    {NUV_IFTYPE_USB3, "CNuv_interface_usb3", "if_usb3", true, create<CNuv_interface_usb3>},
    {NUV_IFTYPE_ME4, "CNuv_interface_me4", "if_me4", true, create<CNuv_interface_me4>},
    {NUV_IFTYPE_CLHS_ME5, "CNuv_interface_clhs_me5", "if_clhs_me5", true, create<CNuv_interface_clhs_me5>},
    {NUV_IFTYPE_CLHS_KAYA, "CNuv_interface_clhs_kaya", "if_clhs_kaya", true, create<CNuv_interface_clhs_kaya>},
    {NUV_IFTYPE_GIGE, "CNuv_interface_gige", "if_gige", false, create<CNuv_interface_gige>},
}};
// clang-format on

}  // namespace nuv
