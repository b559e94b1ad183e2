/* A localised message library for the tests: it knows message 6 (with the
 * CR LF ending that the printer must cut) and nothing else. */
#include <stddef.h>

const char *orb_msg_text(unsigned int id, unsigned int lang) {
    if (lang != 1033) return NULL;
    if (id == (0x80000000u | 6u)) return "LOCALISED: parameter %d of %s\r\n";
    return NULL;
}
