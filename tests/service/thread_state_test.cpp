// Per-thread records: zeroed on creation, separate per thread, released at
// thread exit and at unload in the slot-and-heap strategy.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "service/serv.h"
#include "service/thread_state.h"

namespace {

TEST(ThreadState, ModeChoice) {
    EXPECT_EQ(orb::ChooseThreadStateMode(1), orb::ThreadStateMode::StaticTls);
    EXPECT_EQ(orb::ChooseThreadStateMode(-1), orb::ThreadStateMode::StaticTls);
    EXPECT_EQ(orb::ChooseThreadStateMode(0), orb::ThreadStateMode::SlotAndHeap);
    // The test program links the library statically: its code is in the image.
    EXPECT_EQ(orb::ProcessThreadStateMode(), orb::ThreadStateMode::StaticTls);
}

TEST(ThreadState, RecordsStartZeroedAndStaySeparate) {
    ServThreadState *mine = ServThreadStateGet();
    mine->vml_status = 42;
    std::vector<ServThreadState *> seen(4);
    std::vector<int> zero(4);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            ServThreadState *r = ServThreadStateGet();
            zero[t] = r->vml_mode == 0 && r->vml_status == 0 && r->vml_callback == nullptr &&
                      r->vml_argbase == nullptr;
            r->vml_status = t;
            seen[t] = r;
            EXPECT_EQ(ServThreadStateGet(), r);
        });
    for (auto &th : threads) th.join();
    for (int t = 0; t < 4; ++t) {
        EXPECT_TRUE(zero[t]);
        EXPECT_NE(seen[t], mine);
    }
    EXPECT_EQ(mine->vml_status, 42);
    mine->vml_status = 0;
}

TEST(ThreadState, SlotAndHeapRecordsFollowTheirThreads) {
    static orb::SlotHeapStore store;
    long before = store.LiveRecords();
    ServThreadState *main_record = store.Get();
    ASSERT_NE(main_record, nullptr);
    EXPECT_EQ(store.Get(), main_record);
    EXPECT_EQ(main_record->vml_argbase, nullptr);
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t)
        threads.emplace_back([] {
            ServThreadState *r = store.Get();
            ASSERT_NE(r, nullptr);
            EXPECT_EQ(r->vml_mode, 0u);
            r->vml_mode = 0x1A02;
        });
    for (auto &th : threads) th.join();
    // Exited threads gave their records back.
    EXPECT_EQ(store.LiveRecords(), before + 1);
    store.ThreadDetach();
    EXPECT_EQ(store.LiveRecords(), before);
    ServThreadState *again = store.Get();
    EXPECT_EQ(again->vml_mode, 0u);
    store.ProcessDetach();
    EXPECT_EQ(store.LiveRecords(), before);
}

}  // namespace
