// ServPrintMessage: prints a numbered message to standard output, from the
// localised message library when one is present, else from the built-in
// table. An over-long text ends the process with exit status 8.
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "service/messages.h"
#include "service/platform.h"
#include "service/serv.h"

namespace {

// 0 not tried, 1 tried (g_msg_lib holds the handle or null).
std::atomic<int> g_msg_lib_tried{0};
void *g_msg_lib = nullptr;

void *MessageLibrary() {
    if (g_msg_lib_tried.load(std::memory_order_acquire)) return g_msg_lib;
    ServLock();
    if (!g_msg_lib_tried.load(std::memory_order_relaxed)) {
        char path[300];
        std::snprintf(path, sizeof path, "%lu/%s", orb::plat::ThreadLocale(),
                      orb::plat::MessageLibName());
        g_msg_lib = orb::plat::LibOpen(path);
        g_msg_lib_tried.store(1, std::memory_order_release);
    }
    ServUnlock();
    return g_msg_lib;
}

[[noreturn]] void BufferOverflow(int number, size_t length) {
    std::fputs("\nORB INTERNAL ERROR: message buffer overflow.", stdout);
    std::fflush(stdout);
    std::printf("\n       Message N %d   Lenght: %d   Buffer size: %d\n", number, int(length),
                orb::kMessageBufferSize);
    std::fflush(stdout);
    std::exit(8);
}

}  // namespace

extern "C" void ServPrintMessage(int flag, int number, int count, ...) {
    (void)flag;  // both output paths write to standard output
    if (number == 0) {
        std::fputs("\n", stdout);
        std::fflush(nullptr);
        return;
    }
    const orb::MessageRow *row = orb::FindMessage(number);
    char *localised = nullptr;
    if (void *lib = MessageLibrary()) {
        if (orb::plat::MessageText(lib, uint32_t(number) | 0x80000000u, 1033, &localised)) {
            size_t len = std::strlen(localised);
            if (len >= 2 && localised[len - 2] == '\r' && localised[len - 1] == '\n')
                localised[len - 2] = '\0';
        }
    }
    const char *text = localised ? localised : (row ? row->text : nullptr);
    if (!text) return;

    // One buffer per thread: error paths of concurrent threads must not
    // interleave their formatting.
    thread_local char buffer[orb::kMessageBufferSize + 1];
    size_t length;
    if (count > 0) {
        va_list args;
        va_start(args, count);
        int n = std::vsnprintf(buffer, sizeof buffer, text, args);
        va_end(args);
        length = n < 0 ? 0 : size_t(n);
        text = buffer;
    } else {
        length = std::strlen(text);
    }
    if (length > size_t(orb::kMessageBufferSize)) {
        if (localised) orb::plat::MessageTextFree(localised);
        BufferOverflow(number, length);
    }
    std::fputs(text, stdout);
    std::fputs("\n", stdout);
    std::fflush(nullptr);
    if (localised) orb::plat::MessageTextFree(localised);
}
