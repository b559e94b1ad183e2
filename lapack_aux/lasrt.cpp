// Median-of-three quicksort of dlasrt/slasrt. Parts of more than 21
// elements are partitioned Hoare-style around the median of the first, last
// and middle elements; shorter parts are insertion-sorted. The order of
// comparisons and swaps is fixed, so the output (NaNs included) is
// reproducible element for element.
#include "lapack_aux/lasrt.h"

#include "service/serv.h"

namespace orb::lapack {
namespace {

constexpr int32_t kInsertionLimit = 20;  // end - start at or below: insertion sort
// Popping the smaller part first bounds the depth by log2(n) < 32 pairs.
constexpr int kStackPairs = 64;

struct Increasing {
    template <typename T> static bool Before(T a, T b) { return a < b; }
};
struct Decreasing {
    template <typename T> static bool Before(T a, T b) { return a > b; }
};

// d is 1-based here: d[start..end].
template <typename Order, typename T>
void InsertionSort(T *d, int32_t start, int32_t end) {
    for (int32_t i = start + 1; i <= end; ++i) {
        for (int32_t j = i; j > start; --j) {
            if (!Order::Before(d[j], d[j - 1])) break;
            T t = d[j];
            d[j] = d[j - 1];
            d[j - 1] = t;
        }
    }
}

template <typename T>
T MedianOfThree(T d1, T d2, T d3) {
    if (d1 < d2) {
        if (d3 < d1) return d1;
        if (d3 < d2) return d3;
        return d2;
    }
    if (d3 < d2) return d2;
    if (d3 < d1) return d3;
    return d1;
}

template <typename Order, typename T>
void QuickSort(T *d, int32_t n) {
    int32_t stack[kStackPairs][2];
    int top = 0;
    stack[0][0] = 1;
    stack[0][1] = n;
    while (top >= 0) {
        const int32_t start = stack[top][0];
        const int32_t end = stack[top][1];
        --top;
        if (end - start > kInsertionLimit) {
            const int32_t mid = int32_t((int64_t(start) + int64_t(end)) / 2);
            const T pivot = MedianOfThree(d[start], d[end], d[mid]);
            int32_t i = start - 1;
            int32_t j = end + 1;
            for (;;) {
                do --j; while (Order::Before(pivot, d[j]));
                do ++i; while (Order::Before(d[i], pivot));
                if (i >= j) break;
                T t = d[i];
                d[i] = d[j];
                d[j] = t;
            }
            if (j - start < end - j) {
                ++top; stack[top][0] = j + 1; stack[top][1] = end;
                ++top; stack[top][0] = start; stack[top][1] = j;
            } else {
                ++top; stack[top][0] = start; stack[top][1] = j;
                ++top; stack[top][0] = j + 1; stack[top][1] = end;
            }
        } else if (end - start > 0) {
            InsertionSort<Order>(d, start, end);
        }
    }
}

template <typename T>
void Lasrt(const char *id, const int32_t *n, T *d, int32_t *info, const char *name) {
    *info = 0;
    int decreasing = -1;
    if (*id == 'D' || *id == 'd') decreasing = 1;
    else if (*id == 'I' || *id == 'i') decreasing = 0;
    if (decreasing < 0) *info = -1;
    else if (*n < 0) *info = -2;
    if (*info != 0) {
        const int32_t parameter = -*info;
        ServParamErrorHook hook = ServGetLapackReporter();
        (hook ? hook : ServReportParameterError)(name, &parameter, 6);
        return;
    }
    if (*n <= 1) return;
    if (decreasing) QuickSort<Decreasing>(d - 1, *n);
    else QuickSort<Increasing>(d - 1, *n);
}

}  // namespace

void Dlasrt(const char *id, const int32_t *n, double *d, int32_t *info) {
    Lasrt(id, n, d, info, "DLASRT");
}

void Slasrt(const char *id, const int32_t *n, float *d, int32_t *info) {
    Lasrt(id, n, d, info, "SLASRT");
}

}  // namespace orb::lapack
