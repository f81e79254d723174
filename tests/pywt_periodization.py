"""The guide's recipe for PyWavelets' periodization mode, checked against PyWavelets itself:
pywt.dwt(x, w, mode='periodization') equals ehw_DWT under the periodic end condition with the
decomposition filters reversed (high pass -> first = cD, low pass -> second = cA) and the
input rotated right by L/2 - 1 samples, an odd-length input first extended by its last sample;
for an orthogonal wavelet, pywt.idwt(cA, cD, w, mode='periodization') equals ehw_DWTinv with
the same masks, its result rotated back left by L/2 - 1 samples.
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
lib.ehw_DWT.argtypes = lib.ehw_DWTinv.argtypes = [P, I, I, I, I, I, P, P, I, I, P, I, I, I, P, I, I, I]


def transform(engine, x, first, second, wavelet):
    """One signal, all skips 1, through ehw_DWT or ehw_DWTinv under the periodic condition."""
    w = pywt.Wavelet(wavelet)
    high, low = np.array(w.dec_hi[::-1]), np.array(w.dec_lo[::-1])
    n, half = len(x), len(first)
    ptr = lambda a: a.ctypes.data_as(P)
    engine(ptr(x), 1, n, 0, n, 1, ptr(high), ptr(low), w.dec_len, 2, ptr(first), 1, half, 0, ptr(second), 1, half, 0)


def periodization(x, wavelet):
    shift = pywt.Wavelet(wavelet).dec_len // 2 - 1
    if len(x) % 2:
        x = np.append(x, x[-1])
    x = np.roll(x, shift)
    cA, cD = np.zeros(len(x) // 2), np.zeros(len(x) // 2)
    transform(lib.ehw_DWT, x, cD, cA, wavelet)
    return cA, cD


def inverse_periodization(cA, cD, wavelet):
    x = np.zeros(2 * len(cA))
    transform(lib.ehw_DWTinv, x, cD.copy(), cA.copy(), wavelet)
    return np.roll(x, -(pywt.Wavelet(wavelet).dec_len // 2 - 1))


rng = np.random.default_rng(7)
failed = 0
for wavelet in ["haar", "db2", "db4", "sym5", "coif2", "bior2.2"]:
    for n in [12, 13, 32, 33]:
        x = rng.standard_normal(n)
        cA, cD = pywt.dwt(x, wavelet, mode="periodization")
        pairs = list(zip((cA, cD), periodization(x, wavelet)))
        if n % 2 == 0 and pywt.Wavelet(wavelet).orthogonal:
            pairs.append((pywt.idwt(cA, cD, wavelet, mode="periodization"), inverse_periodization(cA, cD, wavelet)))
        if not all(np.allclose(e, g, rtol=1e-13, atol=1e-13) for e, g in pairs):
            print("mismatch: %s, n = %d" % (wavelet, n))
            failed += 1
print("PyWavelets %s: %s" % (pywt.__version__, "all matched" if not failed else "%d mismatches" % failed))
sys.exit(1 if failed else 0)
