// ehw_GEMatrixInv on an n x 2n [A | I] next to LU inversion (dgetrf + dgetri) by OpenBLAS on
// one thread and by the reference LAPACK and BLAS, on the same well-conditioned A. Each timed
// iteration restores the input (copy_only: the larger of the copies, [A | I]). The rounds are
// registered in turn (A B A B) and the table keeps each one's best.
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "hw.h"

extern "C" {
void dgetrf_(const int *m, const int *n, double *a, const int *lda, int *ipiv, int *info);
void dgetri_(const int *n, double *a, const int *lda, const int *ipiv, double *work, const int *lwork, int *info);
void openblas_set_num_threads(int threads);
char *openblas_get_corename(void);
}

namespace {

using Getrf = decltype(&dgetrf_);
using Getri = decltype(&dgetri_);

struct Lapack {
    Getrf getrf;
    Getri getri;
};

// The reference BLAS first, so that the reference LAPACK's own dependency resolves to it by
// name; both bind their symbols locally, apart from the OpenBLAS linked into this program.
Lapack reference_lapack() {
    static const Lapack lapack = [] {
        const int flags = RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND;
        void *lib = dlopen(HW_REFERENCE_BLAS, flags) ? dlopen(HW_REFERENCE_LAPACK, flags) : nullptr;
        if (!lib) {
            std::fprintf(stderr, "reference LAPACK: %s\n", dlerror());
            std::exit(1);
        }
        return Lapack{reinterpret_cast<Getrf>(dlsym(lib, "dgetrf_")), reinterpret_cast<Getri>(dlsym(lib, "dgetri_"))};
    }();
    return lapack;
}

// A with entries in [-1, 1] and n added to the diagonal, row-major.
std::vector<double> matrix_a(int n) {
    std::mt19937_64 rng(n);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<double> a(static_cast<size_t>(n) * n);
    for (double &x : a) x = u(rng);
    for (int i = 0; i < n; ++i) a[static_cast<size_t>(i) * n + i] += n;
    return a;
}

std::vector<double> augmented(int n) {
    const std::vector<double> a = matrix_a(n);
    std::vector<double> m(static_cast<size_t>(n) * 2 * n, 0.0);
    for (int i = 0; i < n; ++i) {
        std::memcpy(&m[static_cast<size_t>(i) * 2 * n], &a[static_cast<size_t>(i) * n], n * sizeof(double));
        m[static_cast<size_t>(i) * 2 * n + n + i] = 1.0;
    }
    return m;
}

void run_libhw(benchmark::State &state, int n) {
    const std::vector<double> input = augmented(n);
    std::vector<double> m(input.size());
    double condition = 0;
    for (auto _ : state) {
        std::memcpy(m.data(), input.data(), input.size() * sizeof(double));
        if (ehw_GEMatrixInv(m.data(), n, 2 * n, &condition) != HW_OK) state.SkipWithError("not inverted");
        benchmark::DoNotOptimize(m.data());
        benchmark::ClobberMemory();
    }
}

void run_lu(benchmark::State &state, int n, bool openblas) {
    const Lapack lapack = openblas ? Lapack{dgetrf_, dgetri_} : reference_lapack();
    if (openblas) {
        openblas_set_num_threads(1);
        state.SetLabel(openblas_get_corename());
    }
    const std::vector<double> input = matrix_a(n);  // its transpose, as column-major: same work
    std::vector<double> a(input.size());
    std::vector<int> ipiv(n);
    int info = 0, lwork = -1;
    double query = 0;
    lapack.getri(&n, a.data(), &n, ipiv.data(), &query, &lwork, &info);
    lwork = static_cast<int>(query);
    std::vector<double> work(lwork);
    for (auto _ : state) {
        std::memcpy(a.data(), input.data(), input.size() * sizeof(double));
        lapack.getrf(&n, &n, a.data(), &n, ipiv.data(), &info);
        lapack.getri(&n, a.data(), &n, ipiv.data(), work.data(), &lwork, &info);
        if (info != 0) state.SkipWithError("not inverted");
        benchmark::DoNotOptimize(a.data());
        benchmark::ClobberMemory();
    }
}

void run_copy_only(benchmark::State &state, int n) {
    const std::vector<double> input = augmented(n);
    std::vector<double> m(input.size());
    for (auto _ : state) {
        std::memcpy(m.data(), input.data(), input.size() * sizeof(double));
        benchmark::DoNotOptimize(m.data());
        benchmark::ClobberMemory();
    }
}

const int registered = [] {
    for (int round = 0; round < 3; ++round)
        for (int n : {100, 200, 500, 1000}) {
            const std::string tag = "/" + std::to_string(n);
            benchmark::RegisterBenchmark(("GEMatrixInv/libhw" + tag).c_str(), run_libhw, n)->Unit(benchmark::kMillisecond);
            benchmark::RegisterBenchmark(("GEMatrixInv/openblas_1thread" + tag).c_str(), run_lu, n, true)
                ->Unit(benchmark::kMillisecond);
            benchmark::RegisterBenchmark(("GEMatrixInv/ref_lapack" + tag).c_str(), run_lu, n, false)
                ->Unit(benchmark::kMillisecond);
            if (round == 0)
                benchmark::RegisterBenchmark(("GEMatrixInv/copy_only" + tag).c_str(), run_copy_only, n)
                    ->Unit(benchmark::kMillisecond);
        }
    return 0;
}();

}  // namespace
