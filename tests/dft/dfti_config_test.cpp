// Configuration semantics of the descriptor interface: creation, every
// DftiSetValue parameter with its status, the uncommit rule, the chain,
// strides and names as stored, free, and the status texts.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "dft/dfti_descriptor.h"
#include "include/orb_dfti.h"
#include "service/messages.h"

namespace {

using namespace orb::dft;

struct Handle {
    DftiHandle h = nullptr;
    ~Handle() {
        if (h) DftiFreeDescriptor(&h);
    }
};

DftiHandle MakeC1(int32_t n = 8, int32_t domain = DftiValueComplex) {
    DftiHandle h = nullptr;
    EXPECT_EQ(DftiCreateDescriptor(&h, DftiValueDouble, domain, 1, n), 0);
    return h;
}

// Every front end: the status, the handle (null on failure) and the
// precision, domain and rank of the record made.
TEST(DftiCreate, FrontEndsTable) {
    const int32_t D = DftiValueDouble, S = DftiValueSingle, C = DftiValueComplex, R = DftiValueReal;
    const int32_t l7[7] = {2, 3, 1, 2, 2, 1, 5}, bad[2] = {4, 0};
    using Make = std::function<int32_t(DftiHandle *)>;
    struct Row { const char *name; Make make; int32_t status, precision = 0, domain = 0, rank = 0; };
    const Row rows[] = {
        {"1d", [&](DftiHandle *h) { return DftiCreateDescriptor(h, D, C, 1, 16); }, 0, D, C, 1},
        {"1d n=1", [&](DftiHandle *h) { return DftiCreateDescriptor(h, S, R, 1, 1); }, 0, S, R, 1},
        {"rank 7", [&](DftiHandle *h) { return DftiCreateDescriptor(h, S, C, 7, l7); }, 0, S, C, 7},
        {"rank 0", [&](DftiHandle *h) { return DftiCreateDescriptor(h, D, C, 0, 16); }, 2},
        {"rank 8", [&](DftiHandle *h) { return DftiCreateDescriptor(h, D, C, 8, l7); }, 2},
        {"rank -1", [&](DftiHandle *h) { return DftiCreateDescriptor(h, D, C, -1, 16); }, 2},
        {"n=0", [&](DftiHandle *h) { return DftiCreateDescriptor(h, D, C, 1, 0); }, 2},
        {"n=-5", [&](DftiHandle *h) { return DftiCreateDescriptor(h, D, C, 1, -5); }, 2},
        {"precision 34", [&](DftiHandle *h) { return DftiCreateDescriptor(h, 34, C, 1, 16); }, 2},
        {"domain 34", [&](DftiHandle *h) { return DftiCreateDescriptor(h, D, 34, 1, 16); }, 2},
        {"d_1d", [&](DftiHandle *h) { return DftiCreateDescriptor_d_1d(h, R, 10); }, 0, D, R, 1},
        {"s_1d", [&](DftiHandle *h) { return DftiCreateDescriptor_s_1d(h, C, 10); }, 0, S, C, 1},
        {"d_md", [&](DftiHandle *h) { return DftiCreateDescriptor_d_md(h, C, 2, l7); }, 0, D, C, 2},
        {"s_md", [&](DftiHandle *h) { return DftiCreateDescriptor_s_md(h, R, 3, l7); }, 0, S, R, 3},
        {"d_1d n=0", [&](DftiHandle *h) { return DftiCreateDescriptor_d_1d(h, C, 0); }, 2},
        {"s_1d domain 31", [&](DftiHandle *h) { return DftiCreateDescriptor_s_1d(h, 31, 4); }, 2},
        {"d_md rank 8", [&](DftiHandle *h) { return DftiCreateDescriptor_d_md(h, C, 8, l7); }, 2},
        {"d_md length 0", [&](DftiHandle *h) { return DftiCreateDescriptor_d_md(h, C, 2, bad); }, 2},
        {"null out", [&](DftiHandle *) { return DftiCreateDescriptor(nullptr, D, C, 1, 8); }, 3},
        {"d_1d null out", [&](DftiHandle *) { return DftiCreateDescriptor_d_1d(nullptr, C, 4); }, 3},
    };
    for (const Row &r : rows) {
        DftiHandle h = reinterpret_cast<DftiHandle>(1);
        EXPECT_EQ(r.make(&h), r.status) << r.name;
        if (r.status == 3) continue;  // nothing was written through a null out-pointer
        ASSERT_EQ(h == nullptr, r.status != 0) << r.name;
        if (!h) continue;
        EXPECT_EQ(h->precision, r.precision) << r.name;
        EXPECT_EQ(h->domain, r.domain) << r.name;
        EXPECT_EQ(h->rank, r.rank) << r.name;
        DftiFreeDescriptor(&h);
    }
}

TEST(DftiCreate, DefaultRecord) {
    const int32_t lengths[2] = {4, 8};
    Handle a;
    ASSERT_EQ(DftiCreateDescriptor(&a.h, DftiValueDouble, DftiValueComplex, 2, lengths), 0);
    const DftiDescriptor *d = a.h;
    // Lengths reversed into internal order, contiguous default strides.
    ASSERT_EQ(d->dims.count, 2);
    const DftiRow want_rows[2] = {{8, 1, 1}, {4, 8, 8}};
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(d->dims.rows[i].n, want_rows[i].n) << i;
        EXPECT_EQ(d->dims.rows[i].is, want_rows[i].is) << i;
        EXPECT_EQ(d->dims.rows[i].os, want_rows[i].os) << i;
    }
    EXPECT_EQ(reinterpret_cast<uintptr_t>(d->dims.rows) % 16, 0u);
    const struct { const char *field; int64_t got, want; } fields[] = {
        {"magic", d->magic, 0x544644}, {"commit status", d->commit_status, 31}, {"data args", d->data_args, 0},
        {"transform rows", d->transforms.count, 1}, {"transforms", d->transforms.rows[0].n, 1},
        {"layout 8", d->layout8, 39}, {"layout 9", d->layout9, 42}, {"layout 10", d->layout10, 40},
        {"placement", d->placement, 43}, {"pack format", d->pack_format, 54}, {"policy", d->policy, 51},
        {"ordering", d->ordering, 48}, {"user threads", d->user_threads, 1}, {"thread limit", d->thread_limit, 0},
        {"zero query", d->hooks->zero_query(), 0}, {"name byte", d->name[0] | d->name[9], 0},
    };
    for (const auto &f : fields) EXPECT_EQ(f.got, f.want) << f.field;
    EXPECT_EQ(d->fscale, 1.0);
    EXPECT_EQ(d->bscale, 1.0);
    EXPECT_EQ(d->compute_forward, nullptr);
    EXPECT_NE(d->planners, nullptr);
}

// Every integer parameter and value: the status, and the descriptor is
// uncommitted afterwards whatever the status.
TEST(DftiSetValue, IntegerParametersTable) {
    struct Row { int32_t domain, parameter, value, status; };
    const int32_t C = DftiValueComplex, R = DftiValueReal;
    const Row rows[] = {
        {C, 0, 32, 3}, {C, 3, 36, 3}, {C, 6, 0, 6}, {C, 7, 4, 0}, {C, 7, -1, 0},
        {C, 8, 39, 0}, {C, 8, 42, 0}, {C, 8, 40, 6}, {C, 8, 41, 6}, {C, 8, 43, 3},
        {C, 9, 42, 0}, {C, 9, 41, 6}, {C, 9, 39, 3}, {C, 9, 40, 3}, {C, 9, 7, 3},
        {R, 10, 39, 0}, {R, 10, 40, 0}, {R, 10, 41, 6}, {R, 10, 42, 6}, {R, 10, 38, 3},
        {C, 11, 43, 0}, {C, 11, 44, 0}, {C, 11, 45, 3}, {C, 14, 17, 0}, {C, 15, -3, 0},
        {C, 16, 0, 6}, {C, 17, 51, 0}, {C, 17, 52, 0}, {C, 17, 53, 3},
        {C, 18, 48, 0}, {C, 18, 49, 0}, {R, 18, 49, 6}, {C, 18, 50, 6}, {R, 18, 50, 6},
        {C, 18, 47, 3}, {C, 19, 0, 3}, {C, 21, 54, 0}, {C, 21, 57, 0}, {C, 21, 53, 3},
        {C, 21, 58, 3}, {C, 22, 0, 3}, {C, 24, 0, 6}, {C, 25, 0, 6}, {C, 26, -7, 0},
        {C, 26, 4, 0}, {C, 27, 0, 0}, {C, 27, 3, 0}, {C, 27, -1, 3},
    };
    for (const Row &r : rows) {
        Handle a;
        a.h = MakeC1(8, r.domain);
        ASSERT_EQ(DftiCommitDescriptor(a.h), 0);
        ASSERT_EQ(a.h->commit_status, DftiValueCommitted);
        EXPECT_EQ(DftiSetValue(a.h, r.parameter, r.value), r.status)
            << "parameter " << r.parameter << " value " << r.value;
        EXPECT_EQ(a.h->commit_status, DftiValueUncommitted) << r.parameter;
        EXPECT_EQ(a.h->compute_forward, nullptr);
        EXPECT_EQ(a.h->flags & DftiFlagCommitted, 0u);
        double x[16] = {};
        EXPECT_EQ(DftiComputeForward(a.h, x), 2) << r.parameter;
    }
}

TEST(DftiSetValue, StoredValues) {
    Handle a;
    a.h = MakeC1(8, DftiValueReal);
    DftiDescriptor *d = a.h;
    EXPECT_EQ(DftiSetValue(a.h, DftiParamTransformCount, 5), 0);
    EXPECT_EQ(d->transform_count, 5);
    EXPECT_EQ(d->transforms.rows[0].n, 5);
    EXPECT_EQ(DftiSetValue(a.h, DftiParamInputDistance, 12), 0);
    EXPECT_EQ(DftiSetValue(a.h, DftiParamOutputDistance, 14), 0);
    EXPECT_EQ(d->transforms.rows[0].is, 12);
    EXPECT_EQ(d->transforms.rows[0].os, 14);
    EXPECT_EQ(d->in_distance, 12);
    EXPECT_EQ(d->out_distance, 14);
    EXPECT_EQ(DftiSetValue(a.h, DftiParamLayout10, 39), 0);
    EXPECT_EQ(d->pack_format, 57);
    EXPECT_EQ(DftiSetValue(a.h, DftiParamPackFormat, 55), 0);
    EXPECT_EQ(d->pack_format, 55);
    EXPECT_EQ(DftiSetValue(a.h, DftiParamThreadLimit, 3), 0);
    EXPECT_EQ(d->thread_limit, 3);
    EXPECT_EQ(DftiSetValue(a.h, DftiParamUserThreadCount, 6), 0);
    EXPECT_EQ(d->user_threads, 6);
    // A rejected value leaves the stored one.
    EXPECT_EQ(DftiSetValue(a.h, DftiParamPlacement, 7), 3);
    EXPECT_EQ(d->placement, 43);
}

TEST(DftiSetValue, UnreadAndOutOfRangeParameters) {
    Handle a;
    a.h = MakeC1();
    ASSERT_EQ(DftiCommitDescriptor(a.h), 0);
    // No value argument at all: these must not read one.
    EXPECT_EQ(DftiSetValue(a.h, 1), 3);
    EXPECT_EQ(DftiSetValue(a.h, 2), 3);
    EXPECT_EQ(DftiSetValue(a.h, 23), 3);
    EXPECT_EQ(DftiSetValue(a.h, 28, 0), 3);
    EXPECT_EQ(DftiSetValue(a.h, 1000, 0), 3);
    EXPECT_EQ(a.h->commit_status, DftiValueCommitted);  // none of them was an integer setter
    EXPECT_EQ(DftiSetValue(nullptr, 7, 1), 5);
}

TEST(DftiSetValue, ScalesDropThePlanOnlyWhenChanged) {
    Handle a;
    a.h = MakeC1();
    ASSERT_EQ(DftiCommitDescriptor(a.h), 0);
    EXPECT_EQ(DftiSetValue(a.h, DftiParamForwardScale, 1.0), 0);
    EXPECT_EQ(a.h->commit_status, DftiValueCommitted);
    EXPECT_EQ(DftiSetValue(a.h, DftiParamBackwardScale, 0.25), 0);
    EXPECT_EQ(a.h->commit_status, DftiValueUncommitted);
    EXPECT_EQ(a.h->current_planner, nullptr);
    EXPECT_EQ(a.h->bscale, 0.25);
    ASSERT_EQ(DftiCommitDescriptor(a.h), 0);
    EXPECT_EQ(a.h->work_bscale, 0.25);
    EXPECT_EQ(a.h->work_bscale_f, 0.25f);
}

// Naming keeps the commit; strides uncommit and are stored reversed into
// internal order with the offset apart.
TEST(DftiSetValue, NameAndStrides) {
    const int32_t lengths[3] = {2, 3, 4};
    Handle a;
    ASSERT_EQ(DftiCreateDescriptor(&a.h, DftiValueDouble, DftiValueComplex, 3, lengths), 0);
    ASSERT_EQ(DftiCommitDescriptor(a.h), 0);
    DftiDescriptor *d = a.h;
    EXPECT_EQ(DftiSetValue(a.h, DftiParamName, "abcdefghijkl"), 0);
    EXPECT_EQ(std::memcmp(d->name, "abcdefghij", 10), 0);
    EXPECT_EQ(DftiSetValue(a.h, DftiParamName, "xyz"), 0);
    EXPECT_EQ(std::memcmp(d->name, "xyz\0\0\0\0\0\0\0", 10), 0);
    EXPECT_EQ(d->commit_status, DftiValueCommitted);
    const int32_t in[4] = {5, 100, 10, 1}, out[4] = {-7, -1, 2, 3};
    EXPECT_EQ(DftiSetValue(a.h, DftiParamInputStrides, in), 0);
    EXPECT_EQ(d->commit_status, DftiValueUncommitted);
    EXPECT_EQ(DftiSetValue(a.h, DftiParamOutputStrides, out), 0);
    EXPECT_EQ(d->in_offset, 5);
    EXPECT_EQ(d->out_offset, -7);
    const int32_t want_is[3] = {1, 10, 100}, want_os[3] = {3, 2, -1};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(d->dims.rows[i].is, want_is[i]);
        EXPECT_EQ(d->dims.rows[i].os, want_os[i]);
    }
}

TEST(DftiSetValue, ChainStoresExceptPolicy) {
    Handle a, b;
    a.h = MakeC1();
    b.h = MakeC1();
    a.h->chain = b.h;
    EXPECT_EQ(DftiSetValue(a.h, DftiParamPlacement, 44), 0);
    EXPECT_EQ(DftiSetValue(a.h, DftiParamTransformCount, 3), 0);
    EXPECT_EQ(DftiSetValue(a.h, DftiParamPolicy, 52), 0);
    EXPECT_EQ(DftiSetValue(a.h, DftiParamOrdering, 49), 0);
    EXPECT_EQ(b.h->placement, 44);
    EXPECT_EQ(b.h->transform_count, 3);
    EXPECT_EQ(b.h->ordering, 49);
    EXPECT_EQ(a.h->policy, 52);
    EXPECT_EQ(b.h->policy, 51);
    // Dropping the plan frees the chained record with it.
    b.h = nullptr;
    EXPECT_EQ(DftiSetValue(a.h, DftiParamForwardScale, 2.0), 0);
    EXPECT_EQ(a.h->chain, nullptr);
}

TEST(DftiLifecycle, NullHandlesWrongMagicDoubleFree) {
    DftiHandle h = MakeC1();
    EXPECT_EQ(DftiCommitDescriptor(nullptr), 5);
    EXPECT_EQ(DftiComputeForward(nullptr, nullptr), 5);
    EXPECT_EQ(DftiComputeBackward(nullptr, nullptr), 5);
    EXPECT_EQ(DftiFreeDescriptor(nullptr), 3);
    h->magic ^= 1;
    EXPECT_EQ(DftiSetValue(h, 7, 1), 5);
    EXPECT_EQ(DftiCommitDescriptor(h), 5);
    EXPECT_EQ(DftiFreeDescriptor(&h), 5);
    h->magic ^= 1;
    double x[16] = {};
    EXPECT_EQ(DftiComputeForward(h, x), 2);  // never committed
    EXPECT_EQ(DftiFreeDescriptor(&h), 0);
    EXPECT_EQ(h, nullptr);
    EXPECT_EQ(DftiFreeDescriptor(&h), 5);
}

TEST(DftiLifecycle, CommitWithoutCommitOperation) {
    Handle a;
    a.h = MakeC1();
    DftiMethods m = *a.h->methods;
    m.commit = nullptr;
    const DftiMethods *saved = a.h->methods;
    a.h->methods = &m;
    EXPECT_EQ(DftiCommitDescriptor(a.h), 7);
    a.h->methods = saved;
}

TEST(DftiStatus, TextsAndClasses) {
    const char *texts[] = {
        "ORB DFTI SUCCESS: No error",
        "ORB DFTI ERROR: Not enough memory to allocate",
        "ORB DFTI ERROR: Invalid configuration parameters",
        "ORB DFTI ERROR: Inconsistent configuration parameters",
        "ORB DFTI ERROR: Error in OpenMP",
        "ORB DFTI ERROR: Descriptor is bad or corrupted",
        "ORB DFTI ERROR: Not implemented",
        "ORB DFTI ERROR: Internal error",
        "ORB DFTI ERROR: Lack of DFTI_NUMBER_OF_USER_THREADS in descriptor",
        "ORB DFTI ERROR: Size of one of transform dimensions exceeds 2^32 (32 bits)",
        "ORB DFTI ERROR: Incorrect status",
    };
    for (int s = 0; s <= 10; ++s) {
        EXPECT_STREQ(DftiStatusText(s), texts[s]);
        EXPECT_EQ(DftiStatusClass(s), s == 0 ? int(orb::MessageSuccess) : int(orb::MessageError));
    }
    EXPECT_STREQ(DftiStatusText(100), texts[10]);
    EXPECT_STREQ(DftiStatusText(-1), texts[10]);
}

}  // namespace
