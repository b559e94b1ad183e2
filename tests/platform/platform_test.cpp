// The platform layer's contracts, checked in-process: environment buffer
// rules, thread-local slots and their thread-exit destructors, private
// heaps, image queries, companion libraries, message texts, and the
// process end (in a fresh process).
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "service/platform.h"
#include "support/process_harness.h"
#include "support/test_env.h"

namespace {

namespace plat = orb::plat;

TEST(PlatformEnv, BufferRules) {
    const struct {
        const char *value;  // null: unset
        uint32_t cap, expected;
        const char *copied;  // null: no text copied
    } cases[] = {
        {nullptr, 16, 0, nullptr}, {"", 16, 0, nullptr},  // Windows writes an empty string here
        {"abc", 16, 3, "abc"},     {"abc", 4, 3, "abc"},   // exactly fits with its terminator
        {"abcd", 4, 5, nullptr},   // one short: the size needed, untouched
        {"x", 1, 2, nullptr},      {"SSE4_2", 128, 6, "SSE4_2"},
    };
    for (const auto &c : cases) {
        orb::test::SetEnv("ORB_PLATFORM_TEST_VAR", c.value);
        char buf[128];
        std::memset(buf, '#', sizeof buf);
        uint32_t got = plat::GetEnv("ORB_PLATFORM_TEST_VAR", buf, c.cap);
        EXPECT_EQ(got, c.expected) << (c.value ? c.value : "(unset)") << " cap " << c.cap;
        if (c.copied) {
            EXPECT_STREQ(buf, c.copied);
        } else {
            EXPECT_TRUE(buf[0] == '#' || buf[0] == '\0')
                << "text copied for " << (c.value ? c.value : "(unset)") << " cap " << c.cap;
            EXPECT_EQ(buf[1], '#');
        }
    }
    orb::test::SetEnv("ORB_PLATFORM_TEST_VAR", nullptr);
}

std::atomic<int> g_destroyed{0};
std::atomic<intptr_t> g_destroyed_sum{0};
void CountDestroy(void *p) {
    g_destroyed.fetch_add(1);
    g_destroyed_sum.fetch_add(reinterpret_cast<intptr_t>(p));
}

TEST(PlatformTls, ValuesArePerThreadAndDestroyedAtThreadExit) {
    plat::TlsKey key;
    ASSERT_TRUE(plat::TlsAlloc(&key, &CountDestroy));
    EXPECT_EQ(plat::TlsGet(key), nullptr);
    int mine = 0;
    ASSERT_TRUE(plat::TlsSet(key, &mine));
    EXPECT_EQ(plat::TlsGet(key), &mine);

    g_destroyed = 0;
    g_destroyed_sum = 0;
    std::vector<std::thread> threads;
    for (intptr_t t = 1; t <= 4; ++t)
        threads.emplace_back([key, t] {
            EXPECT_EQ(plat::TlsGet(key), nullptr);  // a new thread starts empty
            EXPECT_TRUE(plat::TlsSet(key, reinterpret_cast<void *>(t * 16)));
            EXPECT_EQ(plat::TlsGet(key), reinterpret_cast<void *>(t * 16));
        });
    // A thread whose slot is empty at exit, even after holding a value, gets
    // no destructor call.
    threads.emplace_back([key] {
        EXPECT_EQ(plat::TlsGet(key), nullptr);
        plat::TlsSet(key, reinterpret_cast<void *>(8));
        plat::TlsSet(key, nullptr);
    });
    for (auto &th : threads) th.join();
    EXPECT_EQ(g_destroyed.load(), 4);
    EXPECT_EQ(g_destroyed_sum.load(), (1 + 2 + 3 + 4) * 16);
    EXPECT_EQ(plat::TlsGet(key), &mine);  // other threads left ours alone
    plat::TlsSet(key, nullptr);
    plat::TlsFree(key);
}

TEST(PlatformHeap, BlocksAreZeroedAndIndependent) {
    plat::Heap heap = plat::HeapCreate();
    ASSERT_NE(heap, nullptr);
    std::vector<unsigned char *> blocks;
    for (size_t size : {24u, 24u, 1u, 4096u, 24u}) {
        auto *p = static_cast<unsigned char *>(plat::HeapAllocZeroed(heap, size));
        ASSERT_NE(p, nullptr);
        for (size_t i = 0; i < size; ++i) ASSERT_EQ(p[i], 0) << size << " at " << i;
        std::memset(p, 0xA5, size);
        blocks.push_back(p);
    }
    for (size_t i = 0; i < blocks.size(); ++i)
        for (size_t j = i + 1; j < blocks.size(); ++j) EXPECT_NE(blocks[i], blocks[j]);
    plat::HeapFree(heap, blocks[1]);
    // A freed record comes back zeroed on reuse.
    auto *again = static_cast<unsigned char *>(plat::HeapAllocZeroed(heap, 24));
    ASSERT_NE(again, nullptr);
    for (int i = 0; i < 24; ++i) EXPECT_EQ(again[i], 0);
    plat::HeapFree(heap, nullptr);  // ignored
    // Blocks go back one by one: only a Windows heap releases them at destroy.
    for (size_t i = 0; i < blocks.size(); ++i)
        if (i != 1) plat::HeapFree(heap, blocks[i]);
    plat::HeapFree(heap, again);
    plat::HeapDestroy(heap);
}

#if defined(_WIN32)
constexpr const char *kSystemLib = "kernel32.dll";
constexpr const char *kSystemFn = "GetCurrentThreadId";
#else
constexpr const char *kSystemLib = "libc.so.6";
constexpr const char *kSystemFn = "getpid";
#endif

TEST(PlatformImage, MainProgramAgainstLoadedLibrary) {
    // The test program is linked statically against the library's code.
    EXPECT_EQ(plat::CodeInMainImage(reinterpret_cast<const void *>(&plat::GetEnv)), 1);
    void *lib = plat::LibOpen(kSystemLib);
    ASSERT_NE(lib, nullptr);
    void *fn = plat::LibSymbol(lib, kSystemFn);
    ASSERT_NE(fn, nullptr);
    EXPECT_EQ(plat::CodeInMainImage(fn), 0);
    EXPECT_EQ(plat::LibSymbol(lib, "orb_no_such_function"), nullptr);
    plat::LibClose(lib);
    plat::LibClose(nullptr);  // ignored
    EXPECT_EQ(plat::LibOpen("orb_no_such_library_42.dll"), nullptr);
}

TEST(PlatformThreads, IdsAndProcessors) {
    uint32_t mine = plat::CurrentThreadId();
    EXPECT_EQ(plat::CurrentThreadId(), mine);
    uint32_t other = mine;
    std::thread([&] { other = plat::CurrentThreadId(); }).join();
    EXPECT_NE(other, mine);
    int n = plat::ProcessorsAvailable();
    EXPECT_GE(n, 1);
    unsigned hw = std::thread::hardware_concurrency();
    if (hw > 0) {
        EXPECT_LE(n, int(hw));
    }
}

TEST(PlatformMessages, TextsComeFromTheMessageLibrary) {
    std::string path = std::string(ORB_MSG_DIR) + "/" + plat::MessageLibName();
    void *lib = plat::LibOpen(path.c_str());
    ASSERT_NE(lib, nullptr) << path;
    const struct { uint32_t id, lang; const char *expected; /* null: no text */ } cases[] = {
        // printf directives stay as written, CR LF included.
        {0x80000006u, 1033, "LOCALISED: parameter %d of %s\r\n"},
        {0x80000007u, 1033, nullptr},
        {6u, 1033, nullptr},
        {0x80000006u, 1036, nullptr},
    };
    for (const auto &c : cases) {
        char *text = nullptr;
        bool ok = plat::MessageText(lib, c.id, c.lang, &text);
        EXPECT_EQ(ok, c.expected != nullptr) << std::hex << c.id << " lang " << std::dec << c.lang;
        if (ok && c.expected) {
            EXPECT_STREQ(text, c.expected);
        }
        if (ok) plat::MessageTextFree(text);
    }
    plat::LibClose(lib);
}

// The exit code reaches the parent, and buffered output is flushed first.
TEST(PlatformTerminate, ExitCodeAndFlushedOutput) {
    for (int code : {1, 3, 8})
        orb::test::ExpectProbe(code, "before the end", "platform_terminate", {}, {std::to_string(code)});
}

}  // namespace
