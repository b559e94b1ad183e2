// POSIX side of the platform layer: getenv, pthread keys, private heaps
// that track their blocks, dlopen, _exit after flushing.
#include <dlfcn.h>
#include <link.h>
#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "service/platform.h"

namespace orb::plat {

uint32_t GetEnv(const char *name, char *buf, uint32_t cap) {
    const char *v = std::getenv(name);
    if (!v || !*v) return 0;
    size_t len = std::strlen(v);
    if (len + 1 > cap) return uint32_t(len + 1);
    std::memcpy(buf, v, len + 1);
    return uint32_t(len);
}

bool TlsAlloc(TlsKey *key, void (*destructor)(void *)) {
    pthread_key_t k;
    if (pthread_key_create(&k, destructor) != 0) return false;
    *key = TlsKey(k);
    return true;
}
void *TlsGet(TlsKey key) { return pthread_getspecific(pthread_key_t(key)); }
bool TlsSet(TlsKey key, void *value) {
    return pthread_setspecific(pthread_key_t(key), value) == 0;
}
void TlsFree(TlsKey key) { pthread_key_delete(pthread_key_t(key)); }

// A private heap keeps its blocks on a list, so that destroying it gives
// back every block still held, as a Windows private heap does: the records
// of threads that outlive an unload of the library are not lost.
namespace {
struct alignas(alignof(std::max_align_t)) HeapLink {
    HeapLink *prev, *next;
};
struct PrivateHeap {
    pthread_mutex_t lock;
    HeapLink *head;
};
}  // namespace

Heap HeapCreate() {
    auto *h = static_cast<PrivateHeap *>(std::calloc(1, sizeof(PrivateHeap)));
    if (h && pthread_mutex_init(&h->lock, nullptr) != 0) {
        std::free(h);
        return nullptr;
    }
    return h;
}
void *HeapAllocZeroed(Heap heap, size_t size) {
    auto *h = static_cast<PrivateHeap *>(heap);
    if (size > SIZE_MAX - sizeof(HeapLink)) return nullptr;
    auto *link = static_cast<HeapLink *>(std::calloc(1, sizeof(HeapLink) + size));
    if (!link) return nullptr;
    pthread_mutex_lock(&h->lock);
    link->next = h->head;
    if (h->head) h->head->prev = link;
    h->head = link;
    pthread_mutex_unlock(&h->lock);
    return link + 1;
}
void HeapFree(Heap heap, void *p) {
    if (!p) return;
    auto *h = static_cast<PrivateHeap *>(heap);
    auto *link = static_cast<HeapLink *>(p) - 1;
    pthread_mutex_lock(&h->lock);
    (link->prev ? link->prev->next : h->head) = link->next;
    if (link->next) link->next->prev = link->prev;
    pthread_mutex_unlock(&h->lock);
    std::free(link);
}
void HeapDestroy(Heap heap) {
    auto *h = static_cast<PrivateHeap *>(heap);
    if (!h) return;
    for (HeapLink *link = h->head; link;) {
        HeapLink *next = link->next;
        std::free(link);
        link = next;
    }
    pthread_mutex_destroy(&h->lock);
    std::free(h);
}

namespace {
struct ImageQuery {
    uintptr_t addr;
    int result;
};
int FirstObjectContains(struct dl_phdr_info *info, size_t, void *data) {
    auto *q = static_cast<ImageQuery *>(data);
    q->result = 0;
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const auto &ph = info->dlpi_phdr[i];
        if (ph.p_type != PT_LOAD) continue;
        uintptr_t lo = info->dlpi_addr + ph.p_vaddr;
        if (q->addr >= lo && q->addr < lo + ph.p_memsz) q->result = 1;
    }
    return 1;  // the first object reported is the main program
}
}  // namespace

int CodeInMainImage(const void *fn) {
    ImageQuery q{reinterpret_cast<uintptr_t>(fn), -1};
    dl_iterate_phdr(FirstObjectContains, &q);
    return q.result;
}

uint32_t CurrentThreadId() { return uint32_t(syscall(SYS_gettid)); }

void Terminate(int exit_code) {
    std::fflush(nullptr);
    _exit(exit_code);
}

void *LibOpen(const char *name) { return dlopen(name, RTLD_NOW | RTLD_LOCAL); }
void *LibSymbol(void *lib, const char *name) { return dlsym(lib, name); }
void LibClose(void *lib) {
    if (lib) dlclose(lib);
}

const char *MallocLibName() { return "liborbmalloc.so"; }
const char *MessageLibName() { return "liborb_msg.so"; }
unsigned long ThreadLocale() { return 1033; }

bool MessageText(void *lib, uint32_t id, uint32_t lang, char **text) {
    using TextFn = const char *(*)(unsigned int, unsigned int);
    auto fn = reinterpret_cast<TextFn>(dlsym(lib, "orb_msg_text"));
    if (!fn) return false;
    const char *t = fn(id, lang);
    if (!t) return false;
    *text = strdup(t);
    return *text != nullptr;
}
void MessageTextFree(char *text) { std::free(text); }

int ProcessorsAvailable() {
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) == 0) {
        int n = CPU_COUNT(&set);
        if (n > 0) return n;
    }
    long n = sysconf(_SC_NPROCESSORS_ONLN);
    return n > 0 ? int(n) : 1;
}

}  // namespace orb::plat
