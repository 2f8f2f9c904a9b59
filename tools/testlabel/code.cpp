// The modules of the code, as a well-known program drew them once:
// zint -b QRCODE --vers=1 --secure=2 -d "KESTRA TEST LABEL" --filetype=TXT --direct
//
// A test draws them with a label and has a scanner read them.
#include "tools/testlabel/code.h"

namespace kestra::testlabel {

const std::array<std::uint32_t, kCodeModules> kCode = {
    0x1FC67F, 0x104F41, 0x17495D, 0x17465D, 0x174B5D, 0x105041, 0x1FD57F,
    0x000400, 0x12D3A0, 0x1EA23F, 0x056213, 0x1511B1, 0x05461C, 0x0012DB,
    0x1FC741, 0x105B7A, 0x17489A, 0x175523, 0x174441, 0x1043C1, 0x1FD4D0,
};

}  // namespace kestra::testlabel
