// Every engine and entry point on the largest sizes the other tests use, run three ways:
// on one thread (the reference), on four threads at once each with its own data and
// reference host, and on a thread whose stack is 64 KiB. The three must give the same bits.
// CI also runs the four threads under ThreadSanitizer.
#include <pthread.h>

#include <cmath>
#include <cstring>
#include <array>
#include <cstdio>
#include <thread>

#include "host_fixture.h"

namespace {

using namespace hwtest;
using Bytes = std::vector<uint8_t>;
constexpr double kPi = 3.141592653589793;

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

Bytes engines() {
    Bytes out;
    uint32_t radices[32];
    for (uint32_t n : {2048u, 997u, 1225u, 4294967295u}) append(&out, std::vector<uint32_t>(radices, radices + ehw_RadixDec(n, radices)));
    for (const auto &[n, stride, batch, storage] : {std::array<uint32_t, 4>{2048, 2, 2, 0}, {2048, 2, 2, 1}, {997, 1, 1, 0}, {1225, 1, 1, 1}}) {
        std::vector<double> x = wave(2 * size_t{n} * stride * batch, 0.01), work(2 * 2048);
        const uint32_t count = ehw_RadixDec(n, radices);
        ehw_FFT(n, radices, count, kPi, x.data(), work.data(), work.data() + 2 * (n == 997 ? 997 : 0), 1, int32_t(storage), stride, batch);
        append(&out, x);
    }
    std::vector<double> x = wave(2 * 2048, 0.02), work(2 * 2048), y(6 * 1009), roots(1010);
    ehw_Transpose(2048, radices, ehw_RadixDec(2048, radices), x.data(), work.data(), 1, 1);
    ehw_DFT(1009, kPi, wave(6 * 1009, 0.03).data(), y.data(), roots.data(), 0, 3, 1, 2);
    append(&out, x), append(&out, y);
    const int32_t n = 29, count = 3, half = 15;
    const std::vector<double> h = {0.48, 0.84, 0.22, -0.13, 0.01}, g = {-0.13, -0.22, 0.84, -0.48, 0.02};
    for (int32_t flag : {0, 1, 2}) {
        std::vector<double> data = wave(n * count, 0.2), first(half * count), second(half * count), back(n * count);
        ehw_DWT(data.data(), 1, n, 0, n, count, h.data(), g.data(), 5, flag, first.data(), 1, half, 0, second.data(), 1, half, 0);
        out.push_back(uint8_t(ehw_DWTinv(back.data(), 1, n, 0, n, count, h.data(), g.data(), 5, flag, first.data(), 1, half,
                                         0, second.data(), 1, half, 0)));
        append(&out, first), append(&out, back);
    }
    std::vector<double> m = wave(30 * 60, 0.7);
    for (int i = 0; i < 30; ++i) m[i * 60 + i] += 30, m[i * 60 + 30 + i] = 1;
    double condition = 0;
    out.push_back(uint8_t(ehw_GEMatrixInv(m.data(), 30, 60, &condition)));
    append(&out, m);
    return out;
}

Bytes entries() {
    Bytes out;
    const std::vector<double> cube = wave(2 * 210, 0.05);
    call(&out, hw_FFT, {I(0), T({3, 7, 10}, 0, cube), I(1), I(1), I(2), I(0)});
    call(&out, hw_FFT, {I(2048), T({2048}, 0, wave(2 * 2048, 0.04)), I(0), I(1), I(1), T({2048})});
    call(&out, hw_DFT, {I(0), T({3, 7, 10}, 0, cube), T({3, 7, 10}), I(0), I(1)});
    call(&out, hw_FFT, {I(14), T({14}), I(0), I(0), I(0), T({13})});  // refused
    const std::vector<Arg> dwt = {V(wave(29, 0.3)), I(1), I(29), I(0), I(29), I(1), V({0.48, 0.84, 0.22, -0.13}),
                                  V({-0.13, -0.22, 0.84, -0.48}), I(1), T({15}, kReal), I(1), I(15), I(0),
                                  T({15}, kReal), I(1), I(15), I(0)};
    call(&out, hw_DWT, dwt);
    call(&out, hw_DWTinv, dwt);
    std::vector<double> m = wave(30 * 60, 0.9);
    for (int i = 0; i < 30; ++i) m[i * 60 + i] += 30, m[i * 60 + 30 + i] = 1;
    call(&out, hw_GEMatrixInv, {T({30, 60}, kReal, m)});
    call(&out, Composite, {I(1025), I(50), N()});
    return out;
}

Bytes everything() {
    Bytes out = engines(), more = entries();
    out.insert(out.end(), more.begin(), more.end());
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

// Runs `job` on a thread with a painted 64 KiB stack; returns the bytes of stack it touched
// (with the thread's own start-up and bookkeeping).
size_t stack_used(void *(*job)(void *), void *arg) {
    constexpr size_t kSize = 64 * 1024;
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
    RecordProperty("stack_bytes", int(used - idle));
    std::printf("stack: %zu bytes touched by the calls and their harness, %zu by an idle thread\n", used, idle);
}

}  // namespace
