// The Fourier entries on a small 2 x 3 complex array: a forward transform over every
// dimension, then the inverse with 1/N scaling, which gives the data back.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "refhost/ref_host.h"

namespace {

// Rounding residue below the printed precision shows as 0, not as -0.0000.
double shown(double x) { return std::fabs(x) < 5e-5 ? 0.0 : x; }

void show_complex(const char *title, const double *z, int rows, int cols) {
    std::printf("%s\n", title);
    for (int i = 0; i < rows; ++i) {
        std::printf("   ");
        for (int j = 0; j < cols; ++j)
            std::printf("  (%8.4f, %8.4f)", shown(z[2 * (i * cols + j)]), shown(z[2 * (i * cols + j) + 1]));
        std::printf("\n");
    }
}

bool report(const char *what, const refhost::CallResult &r) {
    if (!r.ok) std::printf("%s: error: %s\n", what, r.error.c_str());
    return r.ok;
}

}  // namespace

void fourier_demo(refhost::Host &host, const refhost::Library &library) {
    const double values[12] = {1, 0, 2, 0, 3, 0, 0, 1, 0, 2, 0, 3};
    refhost::RTableShape shape;
    shape.bounds = refhost::dims({2, 3});
    const HostValue zero = host.integer(0), one = host.integer(1), two = host.integer(2);

    // hw_FFT transforms in place; argument 6 = 0 lets it create working storage if needed.
    const HostEntry fft = library.entry("hw_FFT");
    const HostValue data = host.rtable(shape, values);
    std::printf("\nhw_FFT and hw_DFT on a 2 x 3 complex array (kernel exp(-2 pi i jk/n) forward):\n");
    show_complex("the array:", values, 2, 3);
    if (!report("hw_FFT", host.call(fft, {zero, data, zero, zero, zero, zero}))) return;
    show_complex("hw_FFT(0, A, 0, 0, 0, 0): forward, every dimension, in place, unscaled\n"
                 "    (entry (0, 0) is the sum of all six values):",
                 static_cast<double *>(host.data(data)), 2, 3);
    if (!report("hw_FFT inverse", host.call(fft, {zero, data, one, zero, two, zero}))) return;
    show_complex("hw_FFT(0, A, 1, 0, 2, 0): inverse, scaled by 1/N = 1/6, gives the array back:",
                 static_cast<double *>(host.data(data)), 2, 3);

    // hw_DFT writes into an output rtable; over every dimension the input carries the
    // intermediate result, so it is a copy here.
    const HostEntry dft = library.entry("hw_DFT");
    const HostValue input = host.rtable(shape, values), output = host.rtable(shape);
    if (!report("hw_DFT", host.call(dft, {zero, input, output, zero, zero}))) return;
    show_complex("hw_DFT(0, A, B, 0, 0): the direct transform into B, the same values as hw_FFT:",
                 static_cast<double *>(host.data(output)), 2, 3);
    const HostValue back = host.rtable(shape);
    if (!report("hw_DFT inverse", host.call(dft, {zero, output, back, one, two}))) return;
    show_complex("hw_DFT(0, B, C, 1, 2): inverse into C, 1/length per dimension, gives the array back:",
                 static_cast<double *>(host.data(back)), 2, 3);

    const refhost::CallResult bad = host.call(dft, {zero, input, input, zero, zero});
    std::printf("hw_DFT(0, A, A, 0, 0) with one rtable as input and output raises the host error:\n    %s\n",
                bad.ok ? "(none)" : bad.error.c_str());
}
