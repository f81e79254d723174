"""The guide's recipe for PyWavelets' periodization mode, checked against PyWavelets itself:
pywt.dwt(x, w, mode='periodization') equals ehw_DWT under the periodic end condition with the
decomposition filters reversed (high pass -> first = cD, low pass -> second = cA) and the
input rotated right by L/2 - 1 samples, an odd-length input first extended by its last sample.
Usage: pywt_periodization.py <path of libhw.so>. Exits 77 (skipped) without numpy or pywt."""
import ctypes
import sys

try:
    import numpy as np
    import pywt
except ImportError:
    sys.exit(77)

lib = ctypes.CDLL(sys.argv[1])
P, I = ctypes.POINTER(ctypes.c_double), ctypes.c_int32
lib.ehw_DWT.argtypes = [P, I, I, I, I, I, P, P, I, I, P, I, I, I, P, I, I, I]


def periodization(x, wavelet):
    w = pywt.Wavelet(wavelet)
    taps = w.dec_len
    if len(x) % 2:
        x = np.append(x, x[-1])
    x = np.roll(x, taps // 2 - 1)
    n, half = len(x), len(x) // 2
    high, low = np.array(w.dec_hi[::-1]), np.array(w.dec_lo[::-1])
    first, second = np.zeros(half), np.zeros(half)
    ptr = lambda a: a.ctypes.data_as(P)
    lib.ehw_DWT(ptr(x), 1, n, 0, n, 1, ptr(high), ptr(low), taps, 2, ptr(first), 1, half, 0, ptr(second), 1, half, 0)
    return second, first  # cA, cD


rng = np.random.default_rng(7)
failed = 0
for wavelet in ["haar", "db2", "db4", "sym5", "coif2", "bior2.2"]:
    for n in [12, 13, 32, 33]:
        x = rng.standard_normal(n)
        expected, got = pywt.dwt(x, wavelet, mode="periodization"), periodization(x, wavelet)
        if not all(np.allclose(e, g, rtol=1e-13, atol=1e-13) for e, g in zip(expected, got)):
            print("mismatch: %s, n = %d" % (wavelet, n))
            failed += 1
print("PyWavelets %s: %s" % (pywt.__version__, "all matched" if not failed else "%d mismatches" % failed))
sys.exit(1 if failed else 0)
