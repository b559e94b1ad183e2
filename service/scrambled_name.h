// Environment-variable names kept XOR-scrambled in the binary and assembled
// at run time, so they do not appear as plain strings.
#ifndef ORB_SERVICE_SCRAMBLED_NAME_H
#define ORB_SERVICE_SCRAMBLED_NAME_H

#include <stddef.h>

namespace orb {

template <size_t N>
struct ScrambledName {
    char bytes[N];

    static constexpr char Key(size_t i) { return char(0x5A ^ (i * 0x1D)); }

    consteval explicit ScrambledName(const char (&plain)[N]) : bytes{} {
        for (size_t i = 0; i < N; ++i) bytes[i] = char(plain[i] ^ Key(i));
    }

    // Writes the plain name (with its terminator) into out[N].
    void Decode(char (&out)[N]) const {
        const volatile char *src = bytes;  // keep the compiler from folding it back
        for (size_t i = 0; i < N; ++i) out[i] = char(src[i] ^ Key(i));
    }
};

}  // namespace orb

#endif
