// Parsers of the thread-count environment variables: "ORB_NUM_THREADS" and
// "OMP_NUM_THREADS" (digit rule), "ORB_DOMAIN_NUM_THREADS" (list of
// name=number items) and "ORB_DYNAMIC". Pure functions of the text.
#include <cstring>

#include "service/threads.h"

namespace orb {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }
bool IsQuote(char c) { return c == '"' || c == '\''; }
bool IsSeparator(char c) {
    return IsBlank(c) || IsQuote(c) || c == ',' || c == ';' || c == ':';
}

struct DomainName {
    const char *name;
    int32_t domain;
};
constexpr DomainName kDomainNames[] = {
    {"ORB_ALL", 0},     {"ORB_DOMAIN_ALL", 0},     {"ORB_BLAS", 1},
    {"ORB_DOMAIN_BLAS", 1}, {"ORB_FFT", 2},        {"ORB_DOMAIN_FFT", 2},
    {"ORB_VML", 3},     {"ORB_DOMAIN_VML", 3},     {"ORB_PARDISO", 4},
    {"ORB_DOMAIN_PARDISO", 4},
};

int32_t DomainOfName(const char *name, size_t length) {
    for (const DomainName &d : kDomainNames)
        if (std::strlen(d.name) == length && std::memcmp(d.name, name, length) == 0)
            return d.domain;
    return -1;
}

}  // namespace

int32_t ParseThreadCountText(const char *text, int32_t length) {
    // Saturating decimal value; any non-digit makes the whole value 1.
    int64_t value = 0;
    if (length <= 0) return 1;
    for (int32_t i = 0; i < length; ++i) {
        char c = text[i];
        if (c < '0' || c > '9') return 1;
        value = value * 10 + (c - '0');
        if (value > INT32_MAX) value = INT32_MAX;
    }
    return int32_t(value);
}

void ParseDomainThreadList(const char *text, int32_t values[kThreadDomains]) {
    const char *p = text;
    for (;;) {
        while (*p && IsSeparator(*p)) ++p;
        const char *name = p;
        while (*p && *p != '=' && !IsQuote(*p) && !IsBlank(*p)) ++p;
        size_t name_length = size_t(p - name);
        if (name_length == 0) return;  // an empty name (or the end) stops parsing
        while (*p && (IsBlank(*p) || *p == '=')) ++p;
        const char *number = p;
        while (*p && !IsSeparator(*p)) ++p;
        int32_t n = ParseThreadCountText(number, int32_t(p - number));
        int32_t domain = DomainOfName(name, name_length);
        if (domain >= 0 && n >= 1 && values[domain] < 1) values[domain] = n;
    }
}

int32_t ParseDynamicText(const char *text) {
    if (!text) return 1;
    const char *p = text;
    while (*p && (IsBlank(*p) || IsQuote(*p))) ++p;
    const char *word = p;
    while (*p && !IsBlank(*p) && !IsQuote(*p)) ++p;
    size_t length = size_t(p - word);
    if (length == 5 && (std::memcmp(word, "FALSE", 5) == 0 || std::memcmp(word, "false", 5) == 0))
        return 0;
    return 1;
}

int32_t ApplyDynamicRule(int32_t n, bool explicit_count, bool omp_set,
                         const ThreadTopology &topo) {
    if (n > topo.processors) n = topo.processors;
    if (topo.hybrid_switch == -1) {
        if (topo.divisor == -1 || explicit_count || omp_set) return n;
        if (topo.flag > 0 && topo.processors / topo.divisor > 0)
            return topo.processors / topo.divisor;
        return n;
    }
    return topo.hybrid_switch != 0 ? n : 1;
}

}  // namespace orb
