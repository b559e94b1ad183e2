// Status number to message text and class: status s is message 761 + s of
// the numbered table; anything outside 0..10 reads as "Incorrect status".
#include "dft/dfti_descriptor.h"
#include "service/messages.h"

namespace orb::dft {

namespace {
constexpr int kFirstMessage = 761;
constexpr int32_t kLastStatus = DftiStatusIncorrectStatus;

int32_t Clamp(int32_t status) {
    return (status < 0 || status > kLastStatus) ? kLastStatus : status;
}
}  // namespace

const char *DftiStatusText(int32_t status) {
    const MessageRow *row = FindMessage(kFirstMessage + Clamp(status));
    return row ? row->text : "";
}

int DftiStatusClass(int32_t status) {
    const MessageRow *row = FindMessage(kFirstMessage + Clamp(status));
    return row ? int(row->category) : int(MessageError);
}

}  // namespace orb::dft
