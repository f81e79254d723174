/* Calls every libhw engine directly from C99, on its own small data, and checks each result
 * against a value computed here. Prints what was computed and whether it matched; the exit
 * status is the number of mismatches. The build also uses this program to check an installed
 * copy of the library (scripts/consumer-check.sh). */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include "hw.h"

static int failures = 0;

static void verdict(const char *what, double error, double tolerance) {
    const int ok = error <= tolerance;
    printf("  %s: %s (largest difference %.3g)\n", what, ok ? "matches" : "MISMATCH", error);
    if (!ok) ++failures;
}

static double larger(double a, double b) { return a > b ? a : b; }

/* Direct sum of the definition, sign -1 forward, +1 inverse; complex values as double pairs. */
static void direct_dft(const double *x, double *out, uint32_t n, int sign) {
    uint32_t j, k;
    for (k = 0; k < n; ++k) {
        double re = 0, im = 0;
        for (j = 0; j < n; ++j) {
            const double angle = 2 * HW_PI * (double)((uint64_t)j * k % n) / n;
            const double c = cos(angle), s = sign * sin(angle);
            re += x[2 * j] * c - x[2 * j + 1] * s;
            im += x[2 * j] * s + x[2 * j + 1] * c;
        }
        out[2 * k] = re;
        out[2 * k + 1] = im;
    }
}

static double largest_difference(const double *a, const double *b, size_t doubles) {
    double worst = 0;
    size_t i;
    for (i = 0; i < doubles; ++i) worst = larger(worst, fabs(a[i] - b[i]));
    return worst;
}

static void matrix_inversion(void) {
    /* [A | I] with A = (4 1; 2 3); the inverse is (3 -1; -2 4) / 10. */
    double m[8] = {4, 1, 1, 0,
                   2, 3, 0, 1};
    const double expected[4] = {0.3, -0.1, -0.2, 0.4};
    double condition = 0, error = 0;
    int32_t code;
    int i;
    printf("ehw_GEMatrixInv: inverts A = (4 1; 2 3) in the augmented matrix [A | I]\n");
    code = ehw_GEMatrixInv(m, 2, 4, &condition);
    for (i = 0; i < 4; ++i) error = larger(error, fabs(m[(i / 2) * 4 + 2 + i % 2] - expected[i]));
    printf("  result code %d, right block (%g %g; %g %g), condition estimate %g (= 10 * 1.0)\n", (int)code, m[2],
           m[3], m[6], m[7], condition);
    verdict("inverse against (3 -1; -2 4) / 10", code == HW_OK ? error : 1, 1e-15);
}

static void radix_list(void) {
    uint32_t radices[HW_MAX_RADICES], count, i, product = 1;
    count = ehw_RadixDec(1000, radices);
    printf("ehw_RadixDec: splits 1000 into the radices of the FFT's passes:");
    for (i = 0; i < count; ++i) {
        printf(" %u", (unsigned)radices[i]);
        product *= radices[i];
    }
    printf("\n");
    verdict("list 8 5 5 5 (product 1000)",
            count == 4 && radices[0] == 8 && radices[1] == 5 && radices[3] == 5 && product == 1000 ? 0 : 1, 0);
}

static void fft(void) {
    enum { N = 28 }; /* 4 * 7: the radix 7 runs through the generic butterfly */
    double x[2 * N], data[2 * N], expected[2 * N];
    uint32_t radices[HW_MAX_RADICES], count, generic;
    uint64_t work_length;
    double *work;
    uint32_t j;
    for (j = 0; j < N; ++j) {
        x[2 * j] = cos(0.3 * j) + 0.1 * j;
        x[2 * j + 1] = sin(0.7 * j);
        data[2 * j] = x[2 * j];
        data[2 * j + 1] = x[2 * j + 1];
    }
    count = ehw_RadixDec(N, radices);
    generic = hw_fft_generic_radix(radices, count);
    work_length = hw_fft_work_length(N, radices, count, 1); /* enough for storage 0 and 1 */
    work = malloc(sizeof(double) * 2 * work_length);
    if (!work) {
        ++failures;
        return;
    }
    printf("ehw_FFT: forward transform of %d complex values in place (radices %u %u, work %u complex values)\n",
           N, (unsigned)radices[0], (unsigned)radices[1], (unsigned)work_length);
    ehw_FFT(N, radices, count, HW_PI, data, work, work + 2 * generic, 0, 0, 1, 1);
    direct_dft(x, expected, N, -1);
    verdict("against the direct sum with exp(-2 pi i jk/n)", largest_difference(data, expected, 2 * N), 1e-12);

    /* Storage 0 rewrote the list: build it again. The inverse is unscaled, so it gives n * x. */
    count = ehw_RadixDec(N, radices);
    ehw_FFT(N, radices, count, HW_PI, data, work, work + 2 * generic, 1, 1, 1, 1);
    for (j = 0; j < 2 * N; ++j) data[j] /= N;
    printf("ehw_FFT: inverse transform of that result (reordered through work), divided by n\n");
    verdict("against the original values", largest_difference(data, x, 2 * N), 1e-13);
    free(work);
}

static void transpose(void) {
    /* n = 12 with radices 6, 2: X[k0 + 6 k1] stands at position 2 k0 + k1 after the passes. */
    const uint32_t radices[2] = {6, 2};
    double data[24], work[24];
    uint32_t k0, k1, k;
    double error = 0;
    for (k0 = 0; k0 < 6; ++k0)
        for (k1 = 0; k1 < 2; ++k1) {
            data[2 * (2 * k0 + k1)] = k0 + 6 * k1; /* each value holds its own index */
            data[2 * (2 * k0 + k1) + 1] = 0;
        }
    printf("ehw_Transpose: puts 12 values from digit-reversed order (radices 6, 2) into natural order\n");
    ehw_Transpose(12, radices, 2, data, work, 1, 1);
    for (k = 0; k < 12; ++k) error = larger(error, fabs(data[2 * k] - k));
    verdict("value k at position k", error, 0);
}

static void dft(void) {
    /* Two interleaved sequences of the prime length 7: stride 2, batch 1. */
    enum { N = 7 };
    double input[2 * 2 * N], output[2 * 2 * N], roots[2 * 4];
    double one[2 * N], expected[2 * N], got[2 * N];
    uint32_t j, s;
    double error = 0;
    for (j = 0; j < 2 * N; ++j) {
        input[2 * j] = (double)(j % 5) - 1.5;
        input[2 * j + 1] = 0.25 * j;
    }
    printf("ehw_DFT: inverse transforms of two interleaved sequences of length 7, scaled by 1/7 "
           "(roots table of %u complex values)\n", (unsigned)hw_dft_roots_length(N));
    ehw_DFT(N, HW_PI, input, output, roots, 1, 2, 1, 2);
    for (s = 0; s < 2; ++s) {
        for (j = 0; j < N; ++j) {
            one[2 * j] = input[2 * (j * 2 + s)];
            one[2 * j + 1] = input[2 * (j * 2 + s) + 1];
            got[2 * j] = output[2 * (j * 2 + s)] * N;
            got[2 * j + 1] = output[2 * (j * 2 + s) + 1] * N;
        }
        direct_dft(one, expected, N, +1);
        error = larger(error, largest_difference(got, expected, 2 * N));
    }
    verdict("against the direct sum with exp(+2 pi i jk/n)", error, 1e-12);
}

static void wavelet_forward(void) {
    /* x = 1..6, h = (1, 2, 3), g = (1, 0, -1): three windows starting at samples 0, 2, 4; only
     * the last reaches past the end, and the end condition decides what it reads there. */
    const double x[6] = {1, 2, 3, 4, 5, 6}, h[3] = {1, 2, 3}, g[3] = {1, 0, -1};
    const double last[3][2] = {{17, 5}, {32, 0}, {20, 4}};
    const char *names[3] = {"zero", "overflow (mirror)", "periodic"};
    int end;
    printf("ehw_DWT: x = 1..6, high pass (1, 2, 3) -> first, low pass (1, 0, -1) -> second\n");
    for (end = 0; end < 3; ++end) {
        double first[3], second[3], error;
        ehw_DWT(x, 1, 6, 0, 6, 1, h, g, 3, end, first, 1, 3, 0, second, 1, 3, 0);
        printf("  end condition %d, %s: first (%g, %g, %g), second (%g, %g, %g)\n", end, names[end], first[0], first[1],
               first[2], second[0], second[1], second[2]);
        error = fabs(first[0] - 14) + fabs(first[1] - 26) + fabs(second[0] + 2) + fabs(second[1] + 2) +
                fabs(first[2] - last[end][0]) + fabs(second[2] - last[end][1]);
        verdict("against the sums worked by hand", error, 0);
    }
}

static void wavelet_round_trip(void) {
    /* Two signals of 16 samples stored interleaved (sample i of signal t at 2i + t: data skip 2,
     * transform skip 1), coefficients one signal after the other (skip 1, transform skip 8).
     * The zero and overflow conditions are inverted by back-substitution through
     * D = h[0] g[1] - h[1] g[0] (Haar masks: D = -1); the periodic condition by synthesis,
     * exact for orthonormal masks such as Daubechies' four taps. */
    const double r = sqrt(0.5), r3 = sqrt(3.0), d = 4 * sqrt(2.0);
    const double haar_high[2] = {r, r}, haar_low[2] = {r, -r};
    const double db_low[4] = {(1 + r3) / d, (3 + r3) / d, (3 - r3) / d, (1 - r3) / d};
    const double db_high[4] = {db_low[3], -db_low[2], db_low[1], -db_low[0]};
    const struct {
        int end, taps;
        const double *high, *low;
        const char *masks;
    } cases[3] = {{0, 2, haar_high, haar_low, "Haar"}, {1, 2, haar_high, haar_low, "Haar"},
                  {2, 4, db_high, db_low, "four-tap Daubechies"}};
    double x[32], back[32], first[16], second[16];
    int c, i;
    for (i = 0; i < 32; ++i) x[i] = sin(0.4 * i) + (i % 3);
    printf("ehw_DWTinv: rebuilds two interleaved signals of 16 samples from ehw_DWT's coefficients\n");
    for (c = 0; c < 3; ++c) {
        int32_t code;
        char what[96];
        for (i = 0; i < 32; ++i) back[i] = 0;
        ehw_DWT(x, 2, 1, 0, 16, 2, cases[c].high, cases[c].low, cases[c].taps, cases[c].end, first, 1, 8, 0, second,
                1, 8, 0);
        code = ehw_DWTinv(back, 2, 1, 0, 16, 2, cases[c].high, cases[c].low, cases[c].taps, cases[c].end, first, 1, 8,
                          0, second, 1, 8, 0);
        sprintf(what, "end condition %d, %s masks: result code %d, signals rebuilt", cases[c].end, cases[c].masks,
                (int)code);
        verdict(what, code == HW_OK ? largest_difference(back, x, 32) : 1, 1e-12);
    }
}

int main(void) {
    printf("libhw %d.%d.%d engines, called directly\n\n", HW_VERSION_MAJOR, HW_VERSION_MINOR, HW_VERSION_PATCH);
    matrix_inversion();
    radix_list();
    fft();
    transpose();
    dft();
    wavelet_forward();
    wavelet_round_trip();
    printf("\n%s\n", failures == 0 ? "every result matched" : "SOME RESULTS DID NOT MATCH");
    return failures;
}
