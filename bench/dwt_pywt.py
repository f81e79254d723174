"""PyWavelets on the periodic cases of bench/dwt_bench.cpp: the same shapes, data and numbers of
taps (Daubechies masks), mode periodization. Prints one line per case, "<case> <samples/s>",
best of several timed batches; hw_bench runs it and puts the figures in its table."""
import time
import timeit

import numpy as np
import pywt

SHAPES = [("2^20x1", 1 << 20, 1, False), ("1024x1024", 1024, 1024, False),
          ("cols1024x1024", 1024, 1024, True), ("2^14x1", 1 << 14, 1, False)]
WAVELETS = [("db1", 2), ("db2", 4), ("db4", 8), ("db10", 20)]


def best_rate(fn, samples, budget=0.15):
    fn()
    number = max(1, int(0.01 * 5e7 / samples))
    best, spent = float("inf"), 0.0
    while spent < budget:
        t = timeit.Timer(fn, timer=time.process_time).timeit(number=number)
        spent += t
        best = min(best, t / number)
    return samples / best


def main():
    for name, taps in WAVELETS:
        for shape, n, count, columns in SHAPES:
            x = np.sin(0.001 * np.arange(n * count, dtype=np.float64))
            # Signal t is row t, or column t of an n x count matrix.
            x = x.reshape(n, count) if columns else x.reshape(count, n)
            axis = 0 if columns else -1
            if count == 1:
                x = x[0]
            ca, cd = pywt.dwt(x, name, mode="periodization", axis=axis)
            forward = lambda: pywt.dwt(x, name, mode="periodization", axis=axis)
            inverse = lambda: pywt.idwt(ca, cd, name, mode="periodization", axis=axis)
            for kind, fn in (("fwd", forward), ("inv", inverse)):
                print("%s_L%d_e2_%s %.6g" % (kind, taps, shape, best_rate(fn, n * count)), flush=True)


if __name__ == "__main__":
    main()
