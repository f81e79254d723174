/* libhw: numerical transforms for a computer-algebra host, with a plain C interface.
 *
 * Two layers:
 *   - host entry points (hw_*, Composite): called by a host with its callback table
 *     and the argument words of the call; they check every argument through the host
 *     and report failures through host_error, which does not return;
 *   - engines (ehw_*): plain counts, flags and pointers, callable from any native code.
 *
 * Complex data are pairs of doubles, real part first (16 bytes per value).
 * Usable from C99 and C++. */
#ifndef HW_H
#define HW_H

#include <stddef.h>
#include <stdint.h>

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

HW_API HostValue hw_GEMatrixInv(HostKernel *kernel, HostValue *args);
HW_API HostValue hw_FFT(HostKernel *kernel, HostValue *args);
HW_API HostValue Composite(HostKernel *kernel, HostValue *args);
HW_API HostValue hw_DFT(HostKernel *kernel, HostValue *args);
HW_API HostValue hw_DWT(HostKernel *kernel, HostValue *args);
HW_API HostValue hw_DWTinv(HostKernel *kernel, HostValue *args);

/* ---------------------------------------------------------------- engines */

/* Result codes of the engines (0 is success for every engine). */
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

/* Gauss-Jordan inversion of the augmented row-major rows x cols matrix in place.
 * Returns 0 (inverted), 1 (singular, estimate not written), 3 (estimate above 1e11). */
HW_API int32_t ehw_GEMatrixInv(double *matrix, int32_t rows, int32_t cols, double *condition);

/* Splits length into its radix list in pass order; returns the number of entries
 * (at most 31). A length of 0 or 1 writes nothing and returns 0. */
HW_API uint32_t ehw_RadixDec(uint32_t length, uint32_t *radices);

/* In-place mixed-radix FFT of batch x stride interleaved complex sequences of the given
 * length (element j of sequence (g, s) at complex index (g*length + j)*stride + s).
 * Returns 0, or 1 for an unsupported even radix. */
HW_API int32_t ehw_FFT(uint32_t length, uint32_t *radices, uint32_t radix_count, double pi,
                double *data, double *work, double *roots, int32_t inverse, int32_t storage,
                uint32_t stride, uint32_t batch);

/* Puts digit-reversed FFT output into natural order through work (length complex values). */
HW_API void ehw_Transpose(uint32_t length, const uint32_t *radices, uint32_t radix_count,
                   double *data, double *work, uint32_t stride, uint32_t batch);

/* Direct DFT, out of place, same layout as ehw_FFT; roots holds (length + 1) / 2 complex
 * values and is overwritten. Always returns 0. */
HW_API int32_t ehw_DFT(uint32_t length, double pi, const double *input, double *output,
                double *roots, int32_t inverse, uint32_t stride, uint32_t batch,
                uint32_t normalization);

/* One-level forward wavelet transform of count strided signals. Always returns 0. */
HW_API int32_t ehw_DWT(const double *data, int32_t data_skip, int32_t data_tskip, int32_t data_offset,
                int32_t length, int32_t count, const double *high_pass, const double *low_pass,
                int32_t filter_length, int32_t end_flag,
                double *first, int32_t first_skip, int32_t first_tskip, int32_t first_offset,
                double *second, int32_t second_skip, int32_t second_tskip, int32_t second_offset);

/* Inverse of ehw_DWT. Returns 0, 1 (no memory), 2 (mask not invertible), 11 or 13
 * (tail system singular or ill conditioned), 14 (inconsistent odd-length coefficients). */
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
