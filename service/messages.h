// The numbered message table: text (a printf format), identifier and class
// of every message the library prints or maps a status to.
#ifndef ORB_SERVICE_MESSAGES_H
#define ORB_SERVICE_MESSAGES_H

#include <stdint.h>

namespace orb {

// Classes of the category word.
enum MessageClass : uint32_t { MessageInfo = 1, MessageSuccess = 2, MessageError = 4 };

struct MessageRow {
    int number;
    const char *text;
    uint32_t category;
};

// Row of a message number, or null for a number the table does not hold.
const MessageRow *FindMessage(int number);

// Identifier stored with a row: the number plus one.
inline uint32_t MessageIdentifier(int number) { return uint32_t(number) + 1u; }

// Size of the formatting buffer of ServPrintMessage (characters of text).
constexpr int kMessageBufferSize = 512;

}  // namespace orb

#endif
