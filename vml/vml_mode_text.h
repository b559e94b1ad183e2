// Parser of the initial-mode variable's text, separate so tests reach it.
#ifndef ORB_VML_MODE_TEXT_H
#define ORB_VML_MODE_TEXT_H

#include <stdint.h>

namespace orb::vml {

// "6658" or "0x1A02": the whole text must be one unsigned decimal or 0x-hex
// number of at most 32 bits and not zero. False leaves *mode untouched.
bool ParseModeText(const char *text, uint32_t *mode);

}  // namespace orb::vml

#endif
