/* libhw: numerical transforms for a computer-algebra host, with a plain C interface.
 *
 * Two layers:
 *   - host entry points (hw_*, Composite): called by a host with its callback table and the
 *     argument words of the call; they check every argument through the host and report
 *     failures through host_error, which does not return;
 *   - engines (ehw_*): plain counts, flags and pointers, callable from any native code.
 * The user guide (docs/guide.md) has a worked example for each.
 *
 * Units. Complex data are pairs of doubles, real part first (16 bytes per complex value).
 * Lengths, strides and sizes of the Fourier engines' data, work and roots are counted in
 * complex values (a pointer to n complex values points to 2n doubles); those of the wavelet
 * and matrix engines in doubles.
 *
 * Conventions shared by the Fourier engines: the forward kernel is exp(-2*pi*i*j*k/n), the
 * inverse kernel exp(+2*pi*i*j*k/n); ehw_FFT never scales, ehw_DFT scales only when asked
 * (normalization 1: sqrt(1/n), otherwise nonzero: 1/n). ehw_DFT forms its angles from the
 * argument pi, as pi + pi (pass HW_PI); ehw_FFT takes its twiddle factors from correctly
 * rounded roots of unity exp(-+2*pi*i*t/n), exact in t/n, and does not read pi. Sines and
 * cosines are the library's own, correctly rounded: results are the same bits on every CPU
 * and on every instruction-set level the library chooses at run time.
 *
 * Threads and resources. Each call stands alone: the library has no initialisation, no global
 * or static mutable state, no locks and no threads of its own, and keeps nothing between
 * calls. Calls from several threads at once are safe as long as no array one call writes is
 * read or written by another (and, for the entry points, as far as the host's callbacks
 * allow). The engines allocate nothing, except ehw_DWTinv under end
 * condition 1 (one malloc'ed block, freed before it returns); working storage comes from the
 * caller. A call uses at most 56 KiB of stack (measured: the direct transform of a prime
 * length up to 4099 on one sequence keeps a 37 KiB table of roots there, and over interleaved
 * sequences of a length up to 1536 a 43 KiB table of the whole circle and packed sums;
 * ehw_FFT stays under 40 KiB; every other call under 16 KiB).
 *
 * Limits. The entry points refuse arrays of more than 2^31 - 1 elements; the engines assume
 * the same bound for every index they form (batch * length * stride, offsets plus skips).
 *
 * Usable from C99 and C++. */
#ifndef HW_H
#define HW_H

#include <stddef.h>
#include <stdint.h>

/* Version of this header and of the library built with it (the build takes it from here).
 * The shared library's soname changes with the major version: libhw.so.<major>. */
#define HW_VERSION_MAJOR 0
#define HW_VERSION_MINOR 1
#define HW_VERSION_PATCH 0
#define HW_VERSION (HW_VERSION_MAJOR * 10000 + HW_VERSION_MINOR * 100 + HW_VERSION_PATCH)

/* The value of pi that the host entries hand to the engines. */
#define HW_PI 3.141592653589793

#if defined(__GNUC__)
#define HW_API __attribute__((visibility("default")))
#else
#define HW_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---------------------------------------------------------------- host boundary */

/* One host word, as wide as a pointer. Lowest bit 1: an immediate integer whose value is
 * the word shifted right arithmetically by one bit; lowest bit 0: a handle of a host object. */
typedef intptr_t HostValue;

/* The host's settings record of an rtable: fourteen 32-bit words. Only the five named
 * fields are read or written by the library; the others belong to the host. */
typedef struct RTableInfo {
    int32_t data_type;      /* byte 0: 6 double, 7 complex double */
    int32_t host_word1[2];
    int32_t storage_type;   /* byte 12: 4 rectangular */
    int32_t host_word4[2];
    int32_t order_type;     /* byte 24: 1 row-major (last index fastest) */
    int32_t read_only;      /* byte 28: nonzero when the rtable may not be written */
    int32_t host_word8;
    int32_t num_dims;       /* byte 36 */
    int32_t host_word10[4];
} RTableInfo;

enum {
    HW_DATATYPE_DOUBLE = 6,
    HW_DATATYPE_COMPLEX = 7,
    HW_STORAGE_RECT = 4,
    HW_ORDER_C = 1
};

/* The host's callback table, addressed by slot index: slot s is the pointer at byte offset
 * s * sizeof(void *). The library uses the sixteen slots named below. */
typedef void (*HostSlot)(void);
typedef struct HostKernel {
    HostSlot slot[96];
} HostKernel;

enum {
    HOST_SLOT_ASSIGN = 2,
    HOST_SLOT_ERROR = 5,
    HOST_SLOT_IS_INTEGER = 14,
    HOST_SLOT_IS_NAME = 20,
    HOST_SLOT_IS_RTABLE = 25,
    HOST_SLOT_TO_DOUBLE = 39,
    HOST_SLOT_TO_INT32 = 42,
    HOST_SLOT_ARG_COUNT = 48,
    HOST_SLOT_RTABLE_NEW = 55,
    HOST_SLOT_RTABLE_DATA = 56,
    HOST_SLOT_RTABLE_DEFAULTS = 57,
    HOST_SLOT_RTABLE_INFO = 58,
    HOST_SLOT_RTABLE_LOWER = 62,
    HOST_SLOT_RTABLE_UPPER = 74,
    HOST_SLOT_FROM_INT32 = 91,
    HOST_SLOT_NULL = 95
};

/* Signatures of the slots. host_error does not return; when the message holds "%1" it
 * receives exactly one HostValue after the message, which replaces "%1" when printed. */
typedef HostValue (*host_assign_fn)(HostValue name, HostValue value);
typedef void (*host_error_fn)(const char *msg, ...);
typedef int (*host_is_integer_fn)(HostValue v);
typedef int (*host_is_name_fn)(HostValue v);
typedef int (*host_is_rtable_fn)(HostValue v);
typedef double (*host_to_double_fn)(HostValue v);
typedef int32_t (*host_to_int32_fn)(HostValue v);
typedef int (*host_arg_count_fn)(HostValue *args);
typedef HostValue (*host_rtable_new_fn)(RTableInfo *settings, void *data, int32_t *bounds);
typedef void *(*host_rtable_data_fn)(HostValue rt);
typedef void (*host_rtable_defaults_fn)(RTableInfo *settings);
typedef void (*host_rtable_info_fn)(RTableInfo *settings, HostValue rt);
typedef int (*host_rtable_lower_fn)(HostValue rt, int d);
typedef int (*host_rtable_upper_fn)(HostValue rt, int d);
typedef HostValue (*host_from_int32_fn)(int32_t i);
typedef HostValue (*host_null_fn)(void);

/* Every host entry point has this form. args[0] is a header read only by host_arg_count;
 * args[1..n] are the arguments. */
typedef HostValue (*HostEntry)(HostKernel *kernel, HostValue *args);

/* ---------------------------------------------------------------- host entry points */

/* Each entry takes the host's callback table and the call's argument words (args[0] is the
 * header, args[1..n] the arguments), checks the argument count and then every argument in a
 * fixed order, raises the first failure through host_error with a fixed message (nothing has
 * been written by then), calls its engine and returns the host's empty value (host_null),
 * except Composite. Integers and flags are immediate integers. Arrays are rtables, worked on
 * in place. docs/guide.md lists the arguments and what each entry refuses.
 *
 * hw_GEMatrixInv(M): inverts the augmented double rtable M = [A | I] in place: [I | inverse].
 * hw_FFT(dim or n, data, inverse, storage, normalization, work): in-place FFT of a complex
 *     rtable over its first n elements (rank 1), one dimension dim, or every dimension (dim 0);
 *     normalization 0 none, 1 sqrt(1/N), 2 1/N (N the product of the transformed lengths);
 *     work is 0 (created when needed) or a complex rtable of hw_fft_work_length values.
 * Composite(start, padding, name): returns the number in start .. start + padding whose
 *     largest prime factor is smallest (the first such), and assigns that factor to name.
 * hw_DFT(dim or n, input, output, inverse, normalization): direct DFT into output;
 *     normalization applies per transformed dimension (1/length or sqrt(1/length) each).
 *     When every dimension of a rank >= 2 rtable is transformed, input is overwritten with
 *     the intermediate results.
 * hw_DWT, hw_DWTinv(signals, skip, tskip, offset, n, count, high, low, end, first, skip, tskip,
 *     offset, second, skip, tskip, offset): ehw_DWT and ehw_DWTinv on rtable data blocks,
 *     with every size checked against the rtables. */
HW_API HostValue hw_GEMatrixInv(HostKernel *kernel, HostValue *args);
HW_API HostValue hw_FFT(HostKernel *kernel, HostValue *args);
HW_API HostValue Composite(HostKernel *kernel, HostValue *args);
HW_API HostValue hw_DFT(HostKernel *kernel, HostValue *args);
HW_API HostValue hw_DWT(HostKernel *kernel, HostValue *args);
HW_API HostValue hw_DWTinv(HostKernel *kernel, HostValue *args);

/* ---------------------------------------------------------------- engines */

/* Result codes of the engines. 0 is success for every engine; the other values mean
 * something only for the engine named beside them (the same number recurs across engines).
 * ehw_RadixDec, ehw_Transpose, ehw_DFT and ehw_DWT have no failure. */
enum {
    HW_OK = 0,
    HW_INV_SINGULAR = 1,             /* ehw_GEMatrixInv: no pivot found */
    HW_INV_ILL_CONDITIONED = 3,      /* ehw_GEMatrixInv: condition estimate above 1e11 */
    HW_FFT_UNSUPPORTED_RADIX = 1,    /* ehw_FFT: an even radix other than 2, 4, 6, 8, 16 */
    HW_DWT_NO_MEMORY = 1,            /* ehw_DWTinv: the tail system could not be allocated */
    HW_DWT_MASK_NOT_INVERTIBLE = 2,  /* ehw_DWTinv: h[0]g[1] - h[1]g[0] is exactly 0 */
    HW_DWT_TAIL_OFFSET = 10,         /* ehw_DWTinv: 10 + the inversion's code for the tail system */
    HW_DWT_TAIL_SINGULAR = 11,
    HW_DWT_TAIL_ILL_CONDITIONED = 13,
    HW_DWT_INCONSISTENT = 14         /* ehw_DWTinv: odd-length coefficients that no signal gives */
};

/* Gauss-Jordan inversion with partial pivoting, in place.
 *   matrix     rows x cols doubles, row-major, read and overwritten. Usually cols = 2 * rows:
 *              [A | I] on entry, [I | inverse of A] on return. In general the left block is
 *              the first cols - rows columns and the right block the last rows columns
 *              (cols >= rows is the caller's duty).
 *   condition  receives the estimate |left block on entry|_1 * |right block on return|_1
 *              (sums of the absolute values of all entries); for the n x n identity it is n^2.
 * Returns HW_OK (estimate at most 1e11), HW_INV_ILL_CONDITIONED (estimate above 1e11; the
 * inverse is still in place) or HW_INV_SINGULAR (a pivot column had no nonzero entry on or
 * below the diagonal: the matrix is left partly eliminated and condition is not written).
 * rows <= 0 changes nothing and writes the estimate 0. */
HW_API int32_t ehw_GEMatrixInv(double *matrix, int32_t rows, int32_t cols, double *condition);

/* Room for the radix list of any 32-bit length (a list has at most 31 entries). */
#define HW_MAX_RADICES 32

/* Splits length into the radix list that ehw_FFT and ehw_Transpose take, in pass order:
 * 16s, 8, 6s, 9s, 4, 2, 3s, 5s, then the prime factors from 7 up, ascending (1000 gives
 * 8, 5, 5, 5; 12 gives 6, 2; 539 gives 7, 7, 11). Writes radices[0 .. count-1] and returns
 * count (at most 31; radices needs HW_MAX_RADICES entries). The product of the entries is
 * length. A length of 0 or 1 writes nothing and returns 0. */
HW_API uint32_t ehw_RadixDec(uint32_t length, uint32_t *radices);

/* Whether ehw_FFT may run a radix through its generic odd-radix butterfly, which gathers its
 * inputs in work and reads a root table, so that work and roots must be sized for it: every
 * odd radix other than 1, 3, 5 and 9 (in lists from ehw_RadixDec, the prime factors from 7
 * up). hw_FFT sizes its working storage by the same rule. */
static inline int hw_fft_is_generic_radix(uint32_t radix) {
    return radix % 2 == 1 && radix != 1 && radix != 3 && radix != 5 && radix != 9;
}

/* P: the largest radix of the list that needs the generic butterfly, 0 when there is none
 * (for lists from ehw_RadixDec, the last entry when it is a prime of 7 or more). */
static inline uint32_t hw_fft_generic_radix(const uint32_t *radices, uint32_t radix_count) {
    uint32_t largest = 0, i;
    for (i = 0; i < radix_count; ++i)
        if (hw_fft_is_generic_radix(radices[i]) && radices[i] > largest) largest = radices[i];
    return largest;
}

/* Complex values of working storage that ehw_FFT needs for this radix list: max(2P, length if
 * storage is nonzero, else 0), P = hw_fft_generic_radix(radices, radix_count). The first P
 * values gather the generic butterfly's inputs, the next P hold its root table (pass
 * roots = work + 2 * P doubles); with storage nonzero the whole of work is also the
 * reordering's temporary, which the root table may share. 0: work and roots may be NULL. */
static inline uint64_t hw_fft_work_length(uint32_t length, const uint32_t *radices, uint32_t radix_count,
                                          int32_t storage) {
    const uint64_t generic = 2 * (uint64_t)hw_fft_generic_radix(radices, radix_count);
    return storage != 0 && length > generic ? length : generic;
}

/* In-place mixed-radix FFT, unscaled, of batch * stride complex sequences of one length.
 *   length       n >= 2.
 *   radices      the radix list of n from ehw_RadixDec (any list whose product is n works if
 *                its even entries are 2, 4, 6, 8 or 16), radix_count >= 1 entries. Read, and
 *                OVERWRITTEN when storage is 0: one list serves one call; build it again
 *                with ehw_RadixDec before the next call.
 *   pi           HW_PI; not read (the twiddles are exact roots of unity).
 *   data         batch * n * stride complex values, read and overwritten with the transforms
 *                in natural order. Element j of sequence (g, s), g < batch, s < stride, is
 *                complex value (g * n + j) * stride + s: stride interleaved sequences per
 *                group, groups n * stride values apart (for dimension d of a row-major array:
 *                stride = product of the later lengths, batch = product of the earlier).
 *   work         hw_fft_work_length(...) complex values, overwritten; NULL when that is 0.
 *   roots        P complex values (P = hw_fft_generic_radix), overwritten; must not overlap
 *                the first P values of work; usually work + 2 * P doubles. NULL when P is 0.
 *   inverse      0: forward, X[k] = sum_j x[j] exp(-2 pi i jk/n); nonzero: inverse, with
 *                exp(+2 pi i jk/n). No scaling either way: forward then inverse gives n * x.
 *   storage      nonzero: put the output into natural order through work (ehw_Transpose);
 *                0: in place, by transpositions, with no storage of length n.
 *   stride, batch as described for data; batch * n * stride must stay below 2^31.
 * Returns HW_OK, or HW_FFT_UNSUPPORTED_RADIX for an even radix other than 2, 4, 6, 8 or 16
 * (the passes before it have changed data, which is then not reordered). */
HW_API int32_t ehw_FFT(uint32_t length, uint32_t *radices, uint32_t radix_count, double pi,
                double *data, double *work, double *roots, int32_t inverse, int32_t storage,
                uint32_t stride, uint32_t batch);

/* The reordering step of ehw_FFT, on its own: each sequence of data (layout as for ehw_FFT)
 * holds a transform in digit-reversed order, X[k0 + r0 k1 + r0 r1 k2 + ...] at position
 * k0 m0 + k1 m1 + ... with m_t = r_{t+1} * ... * r_{P-1}; on return X[k] is at position k.
 * work: length complex values, overwritten. The radix list is only read. */
HW_API void ehw_Transpose(uint32_t length, const uint32_t *radices, uint32_t radix_count,
                   double *data, double *work, uint32_t stride, uint32_t batch);

/* Complex values of the root table that ehw_DFT needs: (length + 1) / 2. */
static inline uint32_t hw_dft_roots_length(uint32_t length) { return length / 2 + length % 2; }

/* Direct DFT from the definition, out of place, for batch * stride sequences of one length;
 * any length, prime lengths included, at a cost proportional to length^2 per sequence.
 *   length        n >= 1.
 *   pi            HW_PI.
 *   input         batch * n * stride complex values, layout as for ehw_FFT; only read.
 *   output        the same number of complex values, same layout; written. Must not overlap
 *                 input.
 *   roots         hw_dft_roots_length(n) complex values; overwritten (with the half circle of
 *                 n-th roots of unity).
 *   inverse       0: kernel exp(-2 pi i jk/n); nonzero: exp(+2 pi i jk/n).
 *   stride, batch as for ehw_FFT.
 *   normalization 0: no scaling; 1: every output times sqrt(1/n); other: times 1/n.
 * Always returns HW_OK. */
HW_API int32_t ehw_DFT(uint32_t length, double pi, const double *input, double *output,
                double *roots, int32_t inverse, uint32_t stride, uint32_t batch,
                uint32_t normalization);

/* One-level forward wavelet transform of count signals: two filter masks, each correlated
 * with the signal (unreversed) and downsampled by two.
 *
 * Strided signal sets. The samples and both outputs live in caller arrays of doubles, each
 * described by a base pointer, a data skip (doubles between consecutive samples of one
 * signal), a transform skip (doubles between sample 0 of consecutive signals) and an offset
 * (index of sample 0 of signal 0), all >= 0. Sample i of signal t is
 * data[data_offset + t * data_tskip + i * data_skip]; coefficient k of signal t is
 * first[first_offset + t * first_tskip + k * first_skip], likewise for second.
 *
 *   length         n, samples per signal; count: number of signals (>= 1).
 *   high_pass      h, filter_length (L) doubles, read: produces first, the detail set.
 *   low_pass       g, L doubles, read: produces second, the approximation set.
 *   filter_length  L, 1 <= L <= n.
 *   end_flag       what a window reaching past the last sample reads for x(i), i >= n:
 *                  0 zero end condition: nothing (the tap is left out; as if x(i) = 0);
 *                  1 overflow condition: the mirror image about the last sample, without
 *                    repeating it: x(n) = x(n-2), x(n+1) = x(n-3), ...;
 *                  2 periodic end condition: x(i mod n).
 *                  Any other value acts as 0.
 *   first, second  H = (n + 1) / 2 coefficients per signal each, written:
 *                  first[k] = sum_j h[j] x(2k + j), second[k] = sum_j g[j] x(2k + j), j < L.
 * The engine checks none of these conditions (hw_DWT does); every addressed element must lie
 * inside its array. Outputs overlapping the input are not detected. Always returns HW_OK. */
HW_API int32_t ehw_DWT(const double *data, int32_t data_skip, int32_t data_tskip, int32_t data_offset,
                int32_t length, int32_t count, const double *high_pass, const double *low_pass,
                int32_t filter_length, int32_t end_flag,
                double *first, int32_t first_skip, int32_t first_tskip, int32_t first_offset,
                double *second, int32_t second_skip, int32_t second_tskip, int32_t second_offset);

/* Inverse of ehw_DWT: rebuilds the count signals of data (written) from the coefficient sets
 * first (made by high_pass) and second (made by low_pass), both read, with the masks, end
 * condition and addressing of ehw_DWT.
 *   end_flag 0 and 1: exact inversion, up to rounding; needs L >= 2 and an invertible
 *            leading mask, D = h[0] g[1] - h[1] g[0] != 0. Reads H = (n + 1) / 2 coefficients
 *            of each set. End condition 1 solves the last windows together through a small
 *            system, allocated once per call (the only heap memory of the library) and
 *            freed before return.
 *   end_flag 2: synthesis with the transposed periodic transform; reads n / 2 coefficients
 *            of each set; rebuilds the signal exactly when n is even and the masks form an
 *            orthonormal periodic filter bank.
 *   any other end_flag writes nothing and returns HW_OK.
 * Returns HW_OK; HW_DWT_NO_MEMORY (end condition 1, nothing written);
 * HW_DWT_MASK_NOT_INVERTIBLE (D is 0); HW_DWT_TAIL_SINGULAR or HW_DWT_TAIL_ILL_CONDITIONED
 * (end condition 1: the tail system could not be inverted, or its condition estimate exceeds
 * 1e11; nothing written); HW_DWT_INCONSISTENT (end condition 1, odd n: coefficients that no
 * signal produces; the signals before the failing one are complete). */
HW_API int32_t ehw_DWTinv(double *data, int32_t data_skip, int32_t data_tskip, int32_t data_offset,
                   int32_t length, int32_t count, const double *high_pass, const double *low_pass,
                   int32_t filter_length, int32_t end_flag,
                   const double *first, int32_t first_skip, int32_t first_tskip, int32_t first_offset,
                   const double *second, int32_t second_skip, int32_t second_tskip,
                   int32_t second_offset);

#ifdef __cplusplus
}
#endif

#endif /* HW_H */
