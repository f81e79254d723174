"""Draws docs/images/end-conditions.png: what the wavelet transforms read past the last sample
under each end condition, for a signal of 8 samples and a 6-tap window.
Usage: end-conditions.py OUTPUT.png"""
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402

N, TAPS = 8, 6
SAMPLES = [1.0, 2.5, 2.0, 3.5, 3.0, 4.5, 2.0, 1.0]
LAST_WINDOW = 2 * ((N + 1) // 2 - 1)  # the last window starts at sample 2k, k = H - 1
PAST = range(N, LAST_WINDOW + TAPS)

CONDITIONS = [
    ("end_flag 0, zero end condition: nothing past the end (the taps are left out)", lambda i: 0.0),
    ("end_flag 1, overflow condition: mirror about the last sample, x(n) = x(n-2), x(n+1) = x(n-3), ...",
     lambda i: SAMPLES[2 * N - 2 - i]),
    ("end_flag 2, periodic end condition: x(i) = x(i mod n)", lambda i: SAMPLES[i % N]),
]


def main():
    fig, axes = plt.subplots(len(CONDITIONS), 1, figsize=(9, 7.5), sharex=True)
    for ax, (title, extend) in zip(axes, CONDITIONS):
        ax.stem(range(N), SAMPLES, linefmt="C0-", markerfmt="C0o", basefmt=" ", label="samples x(0) .. x(n-1)")
        ext = [extend(i) for i in PAST]
        markers, _, _ = ax.stem(list(PAST), ext, linefmt="C1--", markerfmt="C1o", basefmt=" ",
                                label="what the last window reads past the end")
        markers.set_markerfacecolor("none")
        ax.axvspan(LAST_WINDOW - 0.4, LAST_WINDOW + TAPS - 0.6, color="C2", alpha=0.12,
                   label="last window: samples 2k .. 2k + L - 1")
        ax.axvline(N - 0.5, color="grey", linewidth=0.8)
        ax.axhline(0.0, color="grey", linewidth=0.5)
        ax.set_title(title, fontsize=9, loc="left")
        ax.set_ylim(-0.3, 5.2)
        ax.set_yticks([])
    axes[0].legend(fontsize=7, loc="upper left")
    axes[-1].set_xticks(range(LAST_WINDOW + TAPS))
    axes[-1].set_xlabel("sample index i (n = %d samples, a window of L = %d taps)" % (N, TAPS))
    fig.tight_layout()
    fig.savefig(sys.argv[1], dpi=90)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main()
