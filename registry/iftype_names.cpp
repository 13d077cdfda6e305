#include <nuv/iftype.h>

const char iftype_names[NUV_IFTYPE_COUNT][NUV_IFTYPE_NAME_SIZE] = {
    "Interface undefined",
    "Interface 1394",
    "Interface Cameralink Matrox",
    "Interface Genicam",
    "Interface Cameralink National Instruments",
    "Interface GiGE",
    "Interface USB2",
    "Interface Cameralink SiSo ME4",
    "Interface USB3",
    "Interface WLAN",
    "Interface clser",
    "Interface CLHS",
    "Interface CLHS SiSo ME5",
    "Interface CLHS Kaya Komodo",
    "Interface CLHS Dalsa Xtium",
    "Interface undefined",
};
