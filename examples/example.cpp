// A host session: loads libhw by name, finds its entry points by name and calls them with
// the reference host's callback table, printing what came back.
#include <cstdio>

#include "refhost/ref_host.h"

void fourier_demo(refhost::Host &host, const refhost::Library &library);

namespace {

void show_matrix(const char *title, const double *a, int rows, int cols) {
    std::printf("%s\n", title);
    for (int i = 0; i < rows; ++i) {
        std::printf("   ");
        for (int j = 0; j < cols; ++j) std::printf(" %9.4f", a[i * cols + j]);
        std::printf("\n");
    }
}

void padded_length(refhost::Host &host, HostEntry composite, int start, int padding) {
    const HostValue prime = host.name("maxprime");
    const refhost::CallResult r = host.call(composite, {host.integer(start), host.integer(padding), prime});
    if (!r.ok) {
        std::printf("Composite(%d, %d, maxprime) refused its arguments; the host error reads: %s\n", start, padding,
                    r.error.c_str());
        return;
    }
    std::printf("Composite(%d, %d, maxprime) searched %d .. %d for the number whose largest prime factor is\n"
                "    smallest (a good padded FFT length): it returned %s and assigned maxprime := %s\n",
                start, padding, start, start + padding, host.print(r.value).c_str(),
                host.print(host.value_of(prime)).c_str());
}

void invert(refhost::Host &host, HostEntry inverse) {
    refhost::RTableShape shape;
    shape.bounds = refhost::dims({3, 6});
    shape.data_type = HW_DATATYPE_DOUBLE;
    const double a[18] = {4, -2, 1, 1, 0, 0,  -2, 4, -2, 0, 1, 0,  1, -2, 4, 0, 0, 1};
    const HostValue m = host.rtable(shape, a);
    std::printf("\nhw_GEMatrixInv inverts in place an augmented matrix [A | I], by Gauss-Jordan elimination:\n");
    show_matrix("before the call, [A | I]:", a, 3, 6);
    const refhost::CallResult r = host.call(inverse, {m});
    if (!r.ok) {
        std::printf("hw_GEMatrixInv: error: %s\n", r.error.c_str());
        return;
    }
    show_matrix("after the call, [I | inverse of A]:", static_cast<double *>(host.data(m)), 3, 6);

    const HostValue singular = host.rtable(shape);  // all zeros
    const refhost::CallResult s = host.call(inverse, {singular});
    std::printf("hw_GEMatrixInv of a zero matrix (no inverse) raises the host error: %s\n",
                s.ok ? "(none)" : s.error.c_str());
}

}  // namespace

void wavelet_demo(const refhost::Library &library);

int main() {
    try {
        refhost::Library library("libhw.so.0");
        refhost::Host host;
        padded_length(host, library.entry("Composite"), 1000, 23);
        padded_length(host, library.entry("Composite"), 1025, 50);
        padded_length(host, library.entry("Composite"), 97, 3);
        padded_length(host, library.entry("Composite"), 0, 3);
        invert(host, library.entry("hw_GEMatrixInv"));
        fourier_demo(host, library);
        wavelet_demo(library);
    } catch (const std::exception &e) {
        std::fprintf(stderr, "example: %s\n", e.what());
        return 1;
    }
    return 0;
}
