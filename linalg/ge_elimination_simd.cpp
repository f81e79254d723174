// The Gauss-Jordan elimination, blocked so that the matrix streams through the cache once per
// panel of pivot steps instead of once per step, with every element seeing exactly the
// operations of the plain step-by-step order.
//
// Every step touches an element at most once (x = x - f * u, or x = x * r for the pivot row),
// and an element's updates come in step order. So the steps of a panel of columns are found
// first (pivots, row exchanges, factors), their factors f kept in the panel's columns until the
// rest of the matrix has used them, and then applied to the other columns tile by tile: the
// panel's pivot rows in step order, then every row below, each row taking the panel's steps in
// order. Row exchanges commute with the updates of earlier steps (both rows are updated by their
// own factors), so a panel's exchanges are applied to the other columns first. The backward
// phase goes the same way, its steps in descending order and without scaling.
//
// While the right block is still the identity it has a known shape that need not be computed:
// kept with its columns in pivot order (column q belongs to the row that became pivot q), its
// columns q > k after step k are still identity columns, with exact zeros of the sign of 1/pivot
// in the pivot rows. A step subtracts f * (+-0) from them, which changes no bit as long as f and
// 1/pivot are finite: then only columns q <= k are updated and the pivot rows' zeros are scaled.
// The pivot of each step is kept in the diagonal (exactly 1.0 at the end) so that the columns
// can be put back in order once, with row-local swaps; a non-finite factor puts them back at
// once and the rest runs on the plain layout.
//
// Stack: a panel's reciprocals and pivots (2 x kPanel x 8 bytes = 1 KiB), kHistory pivots for
// putting the columns back (1 KiB), a kernel's row pointers and spilled accumulators (under
// 2 KiB), and factor_panel's recursion, log2(kPanel / kLeaf) = 2 frames of a few words:
// under 8 KiB in all, whatever the matrix size.
#include <cstdint>

#include "linalg/ge_matrix_inv.h"
#include "simd/vec.h"

namespace hw::HW_ISA_NS {
namespace {

// Rows and vectors of one register tile of the update kernel (accumulators R x V).
#if HW_VEC_DOUBLES == 8
constexpr int kTileRows = 6, kTileVecs = 4;
#else
constexpr int kTileRows = 4, kTileVecs = 3;
#endif
constexpr ptrdiff_t kChunk = kLanes * kTileVecs;  // columns of one register tile
constexpr ptrdiff_t kColumnTile = 32 * kChunk;     // columns updated together per row group
constexpr ptrdiff_t kPanel = 64;                   // pivot steps per pass over the matrix
constexpr ptrdiff_t kLeaf = 16;                    // panel width factored step by step
constexpr ptrdiff_t kHistory = 256;                // pivots read per sweep when reordering

template <class T> inline T load_as(const double *p);
template <> inline vdouble load_as<vdouble>(const double *p) { return load(p); }
template <> inline double load_as<double>(const double *p) { return *p; }
inline void store_as(double *p, vdouble v) { store(p, v); }
inline void store_as(double *p, double v) { *p = v; }
// The kernels' templates take a vector or a scalar alike.
template <class T> inline T splat(double x);
template <> inline vdouble splat<vdouble>(double x) { return broadcast(x); }
template <> inline double splat<double>(double x) { return x; }

// R rows x (V lanes of T) columns from column c: for each step t < steps in order,
// x = x - f[t] * u[t], where row r's factor of step t is f[r][t * fstep] and the pivot row
// of step t starts at u + t * ustep. With Skip, a factor equal to zero skips its row's update.
template <class T, int R, int V, bool Skip>
inline void update_tile(double *const *x, const double *const *f, ptrdiff_t fstep, const double *u,
                        ptrdiff_t ustep, ptrdiff_t steps, ptrdiff_t c) {
    constexpr int lanes = sizeof(T) / sizeof(double);
    T acc[R][V];
    for (int r = 0; r < R; ++r)
        for (int v = 0; v < V; ++v) acc[r][v] = load_as<T>(x[r] + c + v * lanes);
    u += c;
    for (ptrdiff_t t = 0; t < steps; ++t, u += ustep) {
        T uv[V];
        for (int v = 0; v < V; ++v) uv[v] = load_as<T>(u + v * lanes);
        for (int r = 0; r < R; ++r) {
            const double fr = f[r][t * fstep];
            if (Skip && fr == 0.0) continue;
            const T fv = splat<T>(fr);
            for (int v = 0; v < V; ++v) acc[r][v] = acc[r][v] - fv * uv[v];
        }
    }
    for (int r = 0; r < R; ++r)
        for (int v = 0; v < V; ++v) store_as(x[r] + c + v * lanes, acc[r][v]);
}

template <int R, bool Skip>
void update_rows(double *const *x, const double *const *f, ptrdiff_t fstep, const double *u, ptrdiff_t ustep,
                 ptrdiff_t steps, ptrdiff_t width) {
    ptrdiff_t c = 0;
    for (; c + kChunk <= width; c += kChunk) update_tile<vdouble, R, kTileVecs, Skip>(x, f, fstep, u, ustep, steps, c);
    for (; c + kLanes <= width; c += kLanes) update_tile<vdouble, R, 1, Skip>(x, f, fstep, u, ustep, steps, c);
    for (; c < width; ++c) update_tile<double, R, 1, Skip>(x, f, fstep, u, ustep, steps, c);
}

void scale_row(double *x, ptrdiff_t width, double r) {
    const vdouble rv = splat<vdouble>(r);
    ptrdiff_t c = 0;
    for (; c + kLanes <= width; c += kLanes) store(x + c, load(x + c) * rv);
    for (; c < width; ++c) x[c] *= r;
}

struct Matrix {
    double *a;
    ptrdiff_t rows, cols;
    double *row(ptrdiff_t i) const { return a + i * cols; }
    double &at(ptrdiff_t i, ptrdiff_t j) const { return a[i * cols + j]; }
};

// Whether any of count doubles from p is zero.
bool any_zero(const double *p, ptrdiff_t count) {
    const vdouble zero = splat<vdouble>(0.0);
    vint64 hit = vint64{} != vint64{};
    ptrdiff_t j = 0;
    for (; j + kLanes <= count; j += kLanes) hit |= load(p + j) == zero;
    bool any = false;
    for (int l = 0; l < kLanes; ++l) any |= hit[l] != 0;
    for (; j < count; ++j) any |= p[j] == 0.0;
    return any;
}

// R consecutive rows from `row` over `width` columns from tc: steps [j0, j1) of the list that
// starts at pivot row `first` and goes in direction dir.
template <int R>
void update_group(const Matrix &m, ptrdiff_t row, ptrdiff_t first, ptrdiff_t dir, ptrdiff_t j0, ptrdiff_t j1,
                  ptrdiff_t tc, ptrdiff_t width) {
    if (j1 <= j0) return;
    double *x[R];
    const double *f[R];
    bool some_zero = false;
    for (int r = 0; r < R; ++r) {
        x[r] = m.row(row + r) + tc;
        f[r] = m.row(row + r) + first + dir * j0;
        some_zero = some_zero || any_zero(dir > 0 ? f[r] : f[r] - (j1 - j0 - 1), j1 - j0);
    }
    const double *u = m.row(first + dir * j0) + tc;
    if (some_zero) update_rows<R, true>(x, f, dir, u, dir * m.cols, j1 - j0, width);
    else update_rows<R, false>(x, f, dir, u, dir * m.cols, j1 - j0, width);
}

// Applies the steps t_j = first + dir * j, j < count, to columns [c0, c1): the pivot rows t_j
// in list order (each takes the steps before it, then, when `recip` is given, is multiplied by
// recip[j]), then every row in [lo, hi). Row i's factor of step t is (i, t), the pivot row of
// step t is row t. Pivot rows go in groups: the steps before the group together, then the
// group's own steps row by row.
void apply_steps(const Matrix &m, ptrdiff_t first, ptrdiff_t dir, ptrdiff_t count, const double *recip,
                 ptrdiff_t lo, ptrdiff_t hi, ptrdiff_t c0, ptrdiff_t c1) {
    if (count <= 0 || c1 <= c0) return;
    for (ptrdiff_t tc = c0; tc < c1; tc += kColumnTile) {
        const ptrdiff_t width = c1 - tc < kColumnTile ? c1 - tc : kColumnTile;
        for (ptrdiff_t g = 0; g < count; g += kTileRows) {
            const ptrdiff_t rows_in_group = count - g < kTileRows ? count - g : kTileRows;
            // The list's rows go the list's way: a group of the backward list starts at its top row.
            if (rows_in_group == kTileRows && dir > 0) update_group<kTileRows>(m, first + g, first, dir, 0, g, tc, width);
            else if (rows_in_group == kTileRows) update_group<kTileRows>(m, first - g - kTileRows + 1, first, dir, 0, g, tc, width);
            else
                for (ptrdiff_t j = g; j < count; ++j) update_group<1>(m, first + dir * j, first, dir, 0, g, tc, width);
            for (ptrdiff_t j = g; j < g + rows_in_group; ++j) {
                update_group<1>(m, first + dir * j, first, dir, g, j, tc, width);
                if (recip) scale_row(m.row(first + dir * j) + tc, width, recip[j]);
            }
        }
        ptrdiff_t i = lo;
        for (; i + kTileRows <= hi; i += kTileRows) update_group<kTileRows>(m, i, first, dir, 0, count, tc, width);
        for (; i < hi; ++i) update_group<1>(m, i, first, dir, 0, count, tc, width);
    }
}

void swap_range(double *p, double *q, ptrdiff_t c0, ptrdiff_t c1) {
    for (ptrdiff_t j = c0; j < c1; ++j) {
        const double t = p[j];
        p[j] = q[j];
        q[j] = t;
    }
}

// The row exchanges of steps [k0, k1) (pivot rows piv[t - k0]) over columns [c0, c1).
void exchange_rows(const Matrix &m, ptrdiff_t k0, ptrdiff_t k1, const ptrdiff_t *piv, ptrdiff_t c0, ptrdiff_t c1) {
    for (ptrdiff_t t = k0; t < k1; ++t)
        if (piv[t - k0] > t) swap_range(m.row(t), m.row(piv[t - k0]), c0, c1);
}

// Steps [k0, k1) one after another, on columns [k0, k1) only. Returns the first step whose
// pivot column has no nonzero candidate, or k1.
ptrdiff_t factor_leaf(const Matrix &m, ptrdiff_t k0, ptrdiff_t k1, double *recip, ptrdiff_t *piv) {
    for (ptrdiff_t k = k0; k < k1; ++k) {
        double best = -1.0;
        ptrdiff_t p = -1;
        for (ptrdiff_t i = k; i < m.rows; ++i) {
            const double x = m.at(i, k);
            const double v = x > 0 ? x : -x;
            if (v > best) {
                best = v;
                p = i;
            }
        }
        if (!(best > 0)) return k;
        piv[k - k0] = p;
        double *row_k = m.row(k);
        if (p > k) swap_range(row_k, m.row(p), k0, k1);
        const double r = 1.0 / row_k[k];
        recip[k - k0] = r;
        row_k[k] = 1.0;
        for (ptrdiff_t j = k + 1; j < k1; ++j) row_k[j] *= r;
        for (ptrdiff_t i = k + 1; i < m.rows; ++i) {
            double *row_i = m.row(i);
            const double f = row_i[k];  // kept until the panel's steps reach every column
            if (f == 0.0) continue;
            for (ptrdiff_t j = k + 1; j < k1; ++j) row_i[j] = row_i[j] - f * row_k[j];
        }
    }
    return k1;
}

// Steps [k0, k1) on columns [k0, k1), halving the panel until it is narrow. Returns as
// factor_leaf; the steps before a singular one have then reached all of [k0, k1).
ptrdiff_t factor_panel(const Matrix &m, ptrdiff_t k0, ptrdiff_t k1, double *recip, ptrdiff_t *piv) {
    if (k1 - k0 <= kLeaf) return factor_leaf(m, k0, k1, recip, piv);
    const ptrdiff_t km = k0 + (k1 - k0) / 2;
    const ptrdiff_t s = factor_panel(m, k0, km, recip, piv);
    exchange_rows(m, k0, s, piv, km, k1);
    apply_steps(m, k0, 1, s - k0, recip, s, m.rows, km, k1);
    if (s < km) return s;
    const ptrdiff_t s2 = factor_panel(m, km, k1, recip + (km - k0), piv + (km - k0));
    exchange_rows(m, km, s2, piv + (km - k0), k0, km);
    return s2;
}

bool is_identity(const Matrix &m, ptrdiff_t c0) {
    for (ptrdiff_t i = 0; i < m.rows; ++i) {
        const double *row = m.row(i) + c0;
        for (ptrdiff_t q = 0; q < m.rows; ++q) {
            uint64_t bits;
            __builtin_memcpy(&bits, row + q, sizeof bits);
            if (bits != (q == i ? 0x3ff0000000000000u : 0u)) return false;
        }
    }
    return true;
}

// Whether the factors and reciprocals of steps [k0, k1) are all finite.
bool finite_steps(const Matrix &m, ptrdiff_t k0, ptrdiff_t k1, const double *recip) {
    constexpr double kMax = 1.7976931348623157e308;
    bool ok = true;
    for (ptrdiff_t t = k0; t < k1; ++t) ok &= recip[t - k0] >= -kMax && recip[t - k0] <= kMax;
    for (ptrdiff_t i = k0 + 1; i < m.rows; ++i) {
        const double *f = m.row(i) + k0;
        const ptrdiff_t end = i < k1 ? i - k0 : k1 - k0;
        for (ptrdiff_t t = 0; t < end; ++t) ok &= f[t] >= -kMax && f[t] <= kMax;
    }
    return ok;
}

// Puts the right block (from column c0) of a matrix whose steps [0, steps) ran in pivot
// order back in row order, reading each step's pivot from the diagonal and restoring the 1.0.
void restore_column_order(const Matrix &m, ptrdiff_t c0, ptrdiff_t steps) {
    int32_t piv[kHistory];
    for (ptrdiff_t end = steps; end > 0; end -= kHistory) {
        const ptrdiff_t begin = end > kHistory ? end - kHistory : 0;
        for (ptrdiff_t t = begin; t < end; ++t) {
            piv[t - begin] = static_cast<int32_t>(m.at(t, t));
            m.at(t, t) = 1.0;
        }
        for (ptrdiff_t i = 0; i < m.rows; ++i) {
            double *row = m.row(i) + c0;
            for (ptrdiff_t t = end - 1; t >= begin; --t) {
                const ptrdiff_t p = piv[t - begin];
                if (p == t) continue;
                const double x = row[t];
                row[t] = row[p];
                row[p] = x;
            }
        }
    }
}

}  // namespace

bool gauss_jordan_eliminate(double *a, ptrdiff_t rows, ptrdiff_t cols) {
    const Matrix m{a, rows, cols};
    const ptrdiff_t w = cols - rows, steps = w < rows ? w : rows;
    bool in_pivot_order = steps > 0 && is_identity(m, w);
    for (ptrdiff_t k0 = 0; k0 < steps; k0 += kPanel) {
        const ptrdiff_t k1 = k0 + kPanel < steps ? k0 + kPanel : steps;
        double recip[kPanel];
        ptrdiff_t piv[kPanel];
        const ptrdiff_t s = factor_panel(m, k0, k1, recip, piv);
        if (in_pivot_order && !finite_steps(m, k0, s, recip)) {
            restore_column_order(m, w, k0);
            in_pivot_order = false;
        }
        // Exchanges outside the panel: in pivot order only the right block's columns before
        // the step's own differ between the two rows.
        for (ptrdiff_t t = k0; t < s; ++t) {
            const ptrdiff_t p = piv[t - k0];
            if (p == t) continue;
            swap_range(m.row(t), m.row(p), 0, k0);
            swap_range(m.row(t), m.row(p), k1, in_pivot_order ? w + t : cols);
        }
        const ptrdiff_t end = in_pivot_order ? w + s : cols;
        apply_steps(m, k0, 1, s - k0, recip, s, rows, k1, end);
        for (ptrdiff_t t = k0; in_pivot_order && t < s; ++t) scale_row(m.row(t) + end, cols - end, recip[t - k0]);
        for (ptrdiff_t i = k0 + 1; i < rows; ++i) {
            double *f = m.row(i) + k0;
            const ptrdiff_t n = i < s ? i - k0 : s - k0;
            for (ptrdiff_t t = 0; t < n; ++t)
                if (f[t] != 0.0) f[t] = 0.0;
        }
        if (in_pivot_order)
            for (ptrdiff_t t = k0; t < s; ++t) m.at(t, t) = static_cast<double>(piv[t - k0]);
        if (s < k1) {
            if (in_pivot_order) restore_column_order(m, w, s);
            return true;
        }
    }
    if (in_pivot_order) restore_column_order(m, w, steps);

    const ptrdiff_t last = rows <= w ? rows - 1 : w - 1;
    for (ptrdiff_t m1 = last; m1 >= 1; m1 -= kPanel) {
        const ptrdiff_t m0 = m1 - kPanel + 1 > 1 ? m1 - kPanel + 1 : 1;
        apply_steps(m, m1, -1, m1 - m0 + 1, nullptr, 0, m0, last + 1, cols);
        for (ptrdiff_t i = 0; i < m1; ++i) {
            double *f = m.row(i);
            for (ptrdiff_t t = i + 1 > m0 ? i + 1 : m0; t <= m1; ++t)
                if (f[t] != 0.0) f[t] = 0.0;
        }
    }
    return false;
}

}  // namespace hw::HW_ISA_NS
