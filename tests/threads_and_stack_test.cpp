// Every engine and entry point on the largest sizes the other tests use, run three ways:
// on one thread (the reference), on four threads at once each with its own data and
// reference host, and on a thread whose stack is 64 KiB. The three must give the same bits.
// CI also runs the four threads under ThreadSanitizer.
#include <pthread.h>

#include <cmath>
#include <cstring>
#include <cstdio>
#include <thread>

#include "host_fixture.h"

namespace {

using namespace hwtest;
using Bytes = std::vector<uint8_t>;

template <typename T>
void append(Bytes *out, const std::vector<T> &v) {
    const auto *p = reinterpret_cast<const uint8_t *>(v.data());
    out->insert(out->end(), p, p + v.size() * sizeof(T));
}

std::vector<double> wave(size_t n, double f) {
    std::vector<double> v(n);
    for (size_t i = 0; i < n; ++i) v[i] = std::sin(f * double(i) + 0.3) + 0.25 * std::cos(3.1 * f * double(i));
    return v;
}

// An entry call through the reference host: its message (empty on success) and every rtable
// and created rtable as it is afterwards.
void call(Bytes *out, HostEntry fn, const std::vector<Arg> &args) {
    refhost::Host h(refhost::ErrorMode::Exception);
    const std::vector<HostValue> words = make_args(h, args);
    const refhost::CallResult r = h.call(fn, words);
    out->insert(out->end(), r.error.begin(), r.error.end());
    for (HostValue w : words)
        if (h.is_rtable(w)) append(out, h.bytes(w));
    for (HostValue w : h.created) append(out, h.bytes(w));
}

// Through the entries, every engine on the largest sizes of the engine tests: the FFT of
// 2048 in strided batches both ways of reordering, of 1225 and the generic radix 997, the
// direct transform of 1009 and 4099, both wavelet transforms with five taps under each end
// condition, a 30 x 30 inversion; and a refused call and the padded-length search.
Bytes everything() {
    Bytes out;
    const std::vector<double> batches = wave(2 * 2 * 2048 * 2, 0.01);
    for (int32_t storage : {0, 1}) call(&out, hw_FFT, {I(2), T({2, 2048, 2}, 0, batches), I(1), I(storage), I(2), I(0)});
    for (int32_t n : {997, 1225}) call(&out, hw_FFT, {I(n), T({n}, 0, wave(2 * n, 0.02)), I(0), I(1), I(1), T({n})});
    call(&out, hw_FFT, {I(1024), T({1024}, 0, wave(2048, 0.02)), I(0), I(0), I(1), I(0)});  // self-sorting, stack buffer
    call(&out, hw_DFT, {I(1), T({1009, 3}, 0, wave(6 * 1009, 0.03)), T({1009, 3}), I(0), I(2)});
    // The largest prime whose table of permuted roots the direct transform keeps on the stack.
    call(&out, hw_DFT, {I(4099), T({4099}, 0, wave(2 * 4099, 0.04)), T({4099}), I(0), I(0)});
    call(&out, hw_DFT, {I(0), T({3, 7, 10}, 0, wave(420, 0.05)), T({3, 7, 10}), I(1), I(1)});
    call(&out, hw_FFT, {I(14), T({14}), I(0), I(0), I(0), T({13})});
    for (int32_t flag : {0, 1, 2}) {
        const std::vector<Arg> dwt = {V(wave(87, 0.3)), I(1), I(29), I(0), I(29), I(3), V({0.48, 0.84, 0.22, -0.13, 0.01}),
                                      V({-0.13, -0.22, 0.84, -0.48, 0.02}), I(flag), T({45}, kReal), I(1), I(15), I(0),
                                      T({45}, kReal), I(1), I(15), I(0)};
        call(&out, hw_DWT, dwt);
        call(&out, hw_DWTinv, dwt);
    }
    std::vector<double> m = wave(30 * 60, 0.9);
    for (int i = 0; i < 30; ++i) m[i * 60 + i] += 30, m[i * 60 + 30 + i] = 1;
    call(&out, hw_GEMatrixInv, {T({30, 60}, kReal, m)});
    call(&out, Composite, {I(1025), I(50), N()});
    return out;
}

TEST(Concurrency, FourThreadsGiveTheBitsOfOne) {
    const Bytes one = everything();
    Bytes results[4];
    std::vector<std::thread> threads;
    for (Bytes &r : results) threads.emplace_back([&r] { r = everything(); });
    for (std::thread &t : threads) t.join();
    for (const Bytes &r : results) EXPECT_TRUE(r == one);
}

// Runs `job` on a thread with a painted 64 KiB stack (twice that under AddressSanitizer, whose
// red zones enlarge every frame); returns the bytes of stack it touched (with the thread's own
// start-up and bookkeeping).
size_t stack_used(void *(*job)(void *), void *arg) {
#ifdef __SANITIZE_ADDRESS__
    constexpr size_t kSize = 128 * 1024;
#else
    constexpr size_t kSize = 64 * 1024;
#endif
    std::vector<uint8_t> stack(kSize + 4096);
    uint8_t *base = stack.data() + (4096 - reinterpret_cast<uintptr_t>(stack.data()) % 4096);
    std::memset(base, 0xA7, kSize);
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstack(&attr, base, kSize);
    pthread_t thread;
    EXPECT_EQ(pthread_create(&thread, &attr, job, arg), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attr);
    size_t untouched = 0;
    while (untouched < kSize && base[untouched] == 0xA7) ++untouched;
    return kSize - untouched;
}

TEST(Concurrency, EverythingRunsOnA64KiBStack) {
    const Bytes want = everything();
    Bytes got;
    const size_t idle = stack_used([](void *) -> void * { return nullptr; }, nullptr);
    const size_t used = stack_used([](void *out) -> void * {
        *static_cast<Bytes *>(out) = everything();
        return nullptr;
    }, &got);
    EXPECT_TRUE(got == want);
#ifndef __SANITIZE_ADDRESS__  // the sanitizer's red zones make every frame larger
    EXPECT_LT(used - idle, size_t{56 * 1024}) << "the header promises at most 56 KiB";
#endif
    RecordProperty("stack_bytes", int(used - idle));
    std::printf("stack: %zu bytes touched by the calls and their harness, %zu by an idle thread\n", used, idle);
}

}  // namespace
