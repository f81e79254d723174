// Wavelet round trip through the host entries: hw_DWT splits a signal into its high and low
// pass coefficients, hw_DWTinv rebuilds it.
#include <cmath>
#include <cstdio>
#include <vector>

#include "refhost/ref_host.h"

namespace {

HostValue vector_rtable(refhost::Host &host, const double *values, int32_t n) {
    refhost::RTableShape shape;
    shape.bounds = refhost::dims({n});
    shape.data_type = HW_DATATYPE_DOUBLE;
    return host.rtable(shape, values);
}

void show(const char *title, const double *v, int n) {
    std::printf("%-22s", title);
    for (int i = 0; i < n; ++i) std::printf(" %8.4f", v[i]);
    std::printf("\n");
}

}  // namespace

void wavelet_demo(const refhost::Library &library) {
    refhost::Host host;
    const int32_t n = 8, half = 4;
    const double samples[n] = {1, 2, 3, 4, 4, 3, 2, 1};
    const double r = std::sqrt(0.5);
    const double high[2] = {r, r}, low[2] = {r, -r};
    const double zeros[n] = {};
    const HostValue data = vector_rtable(host, samples, n);
    const HostValue first = vector_rtable(host, zeros, half), second = vector_rtable(host, zeros, half);
    const HostValue h = vector_rtable(host, high, 2), g = vector_rtable(host, low, 2);
    auto one = [&](int32_t v) { return host.integer(v); };
    std::vector<HostValue> args{data, one(1), one(n), one(0), one(n), one(1), h, g, one(1),
                                first, one(1), one(half), one(0), second, one(1), one(half), one(0)};
    std::printf("\nhw_DWT and hw_DWTinv, one signal of 8 samples, Haar masks h = (r, r) and g = (r, -r), r = sqrt(1/2),\n"
                "end condition 1:\n");
    show("signal:", samples, n);
    refhost::CallResult res = host.call(library.entry("hw_DWT"), args);
    if (!res.ok) {
        std::printf("hw_DWT: error: %s\n", res.error.c_str());
        return;
    }
    show("hw_DWT first  (h):", static_cast<double *>(host.data(first)), half);
    show("hw_DWT second (g):", static_cast<double *>(host.data(second)), half);
    std::printf("    (first[k] = r (x[2k] + x[2k+1]), second[k] = r (x[2k] - x[2k+1]))\n");
    args[0] = vector_rtable(host, zeros, n);
    res = host.call(library.entry("hw_DWTinv"), args);
    if (!res.ok) {
        std::printf("hw_DWTinv: error: %s\n", res.error.c_str());
        return;
    }
    show("hw_DWTinv rebuilt:", static_cast<double *>(host.data(args[0])), n);
    std::printf("    (hw_DWTinv with the same masks and end condition gives the signal back)\n");
}
