"""Reference figures for the wavelet rows: PyWavelets on the sizes of bench/dwt_bench.cpp,
periodic extension, four- and eight-tap Daubechies masks. Prints samples per second."""
import timeit

import numpy as np
import pywt

SHAPES = [(1 << 20, 1), (1024, 1024)]
WAVELETS = [("db2", 4), ("db4", 8)]


def rate(fn, samples):
    fn()
    runs, seconds = 0, 0.0
    while seconds < 0.5:
        seconds += timeit.timeit(fn, number=1)
        runs += 1
    return samples * runs / seconds


def main():
    print("PyWavelets %s, mode periodization (samples per second)" % pywt.__version__)
    print("%-10s %5s %9s %8s %14s" % ("transform", "taps", "n", "signals", "samples/s"))
    for name, taps in WAVELETS:
        for n, count in SHAPES:
            x = np.sin(0.001 * np.arange(n * count, dtype=np.float64)).reshape(count, n)
            if count == 1:
                x = x[0]
            cA, cD = pywt.dwt(x, name, mode="periodization", axis=-1)
            forward = lambda: pywt.dwt(x, name, mode="periodization", axis=-1)
            inverse = lambda: pywt.idwt(cA, cD, name, mode="periodization", axis=-1)
            print("%-10s %5d %9d %8d %14.4g" % ("forward", taps, n, count, rate(forward, n * count)))
            print("%-10s %5d %9d %8d %14.4g" % ("inverse", taps, n, count, rate(inverse, n * count)))


if __name__ == "__main__":
    main()
