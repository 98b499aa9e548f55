"""Accuracy, scaling and side-by-side speed of the multipole tree.

Builds the tree's sources with the optimisation of a release build into a small driver, then
prints three tables:
  1. relative RMS error of potentials and forces against the direct sum, by number of terms,
     on 10^4 random charges in an open box, with the time of the direct and of the FFT
     multipole-to-local transfer and the largest relative difference between the two;
  2. time per particle from 10^4 up to --max-n charges at fixed accuracy (FFT transfer),
     levels chosen for N (about --per-leaf charges per leaf cell);
  3. if the fmm3dpy package can be imported: the same charges through its Laplace solver, one
     thread, beside ours at matched accuracy (pairs of our terms and its eps, --match), with
     both force errors on a sample of 200 targets and the time ratio.

Times are processor seconds of one evaluation (first call, operator set-up included).
Usage: python3 benchmarks/multipole_tree.py [--max-n 1000000] [--skip-fmm3d]
"""

import argparse
import math
import os
import pathlib
import subprocess
import sys
import tempfile
import time

import numpy as np

ROOT = pathlib.Path(__file__).resolve().parent.parent
SIDE = 1.0


def build_driver(workdir):
    sources = sorted((ROOT / "src/electrostatics/multipole").glob("*.cpp"))
    sources += [ROOT / "src/common/fatal_error.cpp", ROOT / "benchmarks/multipole/tree_driver.cpp"]
    exe = workdir / "tree_driver"
    cmd = ["g++", "-std=c++20", "-O3", "-DNDEBUG", f"-I{ROOT / 'src'}", *map(str, sources), "-o", str(exe)]
    subprocess.run(cmd, check=True)
    return exe


def random_charges(n, seed):
    rng = np.random.default_rng(seed)
    pos = rng.uniform(0.0, SIDE, size=(n, 3))
    q = rng.uniform(-1.0, 1.0, size=n)
    return pos, q


def run_tree(exe, workdir, pos, q, levels, terms, theta, fft_block=0):
    """fft_block 0: direct multipole-to-local transfer; > 0: FFT transfer with that block."""
    n = len(q)
    src, dst = workdir / "in.bin", workdir / "out.bin"
    np.concatenate([[float(n)], pos[:, 0], pos[:, 1], pos[:, 2], q]).astype(np.float64).tofile(src)
    args = [str(levels), str(terms), str(theta), "0", str(SIDE), "1", str(fft_block)]
    out = subprocess.run([str(exe), str(src), str(dst), *args], check=True, capture_output=True, text=True)
    wall, cpu = map(float, out.stdout.split()[-2:])
    res = np.fromfile(dst, dtype=np.float64).reshape(4, n)
    return (wall, cpu), res[0], res[1:].T


def direct_sample(pos, q, sample):
    """Potential and force q_i E_i at the sampled particles by the direct sum."""
    pot = np.zeros(len(sample))
    force = np.zeros((len(sample), 3))
    for k, i in enumerate(sample):
        d = pos[i] - pos
        r = np.sqrt(np.einsum("ij,ij->i", d, d))
        r[i] = np.inf
        pot[k] = np.sum(q / r)
        force[k] = q[i] * np.sum((q / r**3)[:, None] * d, axis=0)
    return pot, force


def rel_rms(got, want):
    return math.sqrt(np.sum((got - want) ** 2) / np.sum(want**2))


def levels_for(n, per_leaf=40):
    """Tree levels (root included) that leave about per_leaf charges in a leaf cell.

    With a fixed occupancy of the leaves the near-field pairs per particle and the transfers per
    particle both stay constant, so the time per particle stays flat as N grows. The tree itself
    takes the levels of "dpmta.IN" as given; this rule is the benchmark's choice for N.
    """
    return max(1, round(math.log(max(n / per_leaf, 1.0), 8)) + 1)


def accuracy_table(exe, workdir, theta, fft_block):
    pos, q = random_charges(10_000, 1)
    sample = np.arange(len(q))
    pot_ref, f_ref = direct_sample(pos, q, sample)
    print(f"\nAccuracy against the direct sum, 10^4 random charges, open box, theta {theta}, levels 4")
    print(f"{'terms':>6} {'pot rel RMS':>12} {'force rel RMS':>14} {'direct cpu s':>13} "
          f"{'FFT cpu s':>10} {'FFT vs direct':>14}")
    for terms in (4, 8, 12, 16):
        (_, cpu), pot, force = run_tree(exe, workdir, pos, q, 4, terms, theta)
        (_, cpu_fft), pot_fft, force_fft = run_tree(exe, workdir, pos, q, 4, terms, theta, fft_block)
        diff = max(np.max(np.abs(pot_fft - pot)) / np.max(np.abs(pot)),
                   np.max(np.abs(force_fft - force)) / np.max(np.abs(force)))
        print(f"{terms:6d} {rel_rms(pot, pot_ref):12.3e} {rel_rms(force, f_ref):14.3e} {cpu:13.3f} "
              f"{cpu_fft:10.3f} {diff:14.1e}")


def scaling_table(exe, workdir, max_n, terms, theta, per_leaf, fft_block):
    print(f"\nScaling at fixed accuracy: terms {terms}, theta {theta}, FFT block {fft_block}, "
          f"about {per_leaf} charges per leaf")
    print(f"{'N':>9} {'levels':>6} {'wall s':>9} {'cpu s':>9} {'cpu us/particle':>16} {'force rel RMS':>14}")
    rows = []
    n = 10_000
    while n <= max_n:
        pos, q = random_charges(n, 2)
        levels = levels_for(n, per_leaf)
        (wall, t), pot, force = run_tree(exe, workdir, pos, q, levels, terms, theta, fft_block)
        sample = np.random.default_rng(3).choice(n, size=min(n, 200), replace=False)
        _, f_ref = direct_sample(pos, q, sample)
        err = rel_rms(force[sample], f_ref)
        rows.append((n, t))
        print(f"{n:9d} {levels:6d} {wall:9.3f} {t:9.3f} {1e6 * t / n:16.3f} {err:14.3e}")
        n *= 10
    per = [t / n for n, t in rows]
    print(f"largest / smallest time per particle: {max(per) / min(per):.2f}")


def fmm3d_table(exe, workdir, max_n, theta, per_leaf, fft_block, match):
    try:
        import fmm3dpy
    except ImportError:
        print("\nfmm3dpy not importable: side-by-side table skipped")
        return
    print(f"\nSide by side with fmm3dpy {getattr(fmm3dpy, '__version__', '')} "
          f"(OMP_NUM_THREADS={os.environ.get('OMP_NUM_THREADS')}), ours with theta {theta}, "
          f"FFT block {fft_block}")
    print("times are processor seconds; errors are force relative RMS on 200 targets against the direct sum")
    print(f"{'N':>9} {'terms':>5} {'ours s':>8} {'ours err':>10} {'eps':>7} {'fmm3d s':>8} {'fmm3d err':>10} "
          f"{'ours/fmm3d':>10}")
    n = 100_000
    while n <= max_n:
        pos, q = random_charges(n, 4)
        sample = np.random.default_rng(5).choice(n, size=200, replace=False)
        pot_ref, f_ref = direct_sample(pos, q, sample)
        for terms, eps in match:
            (_, t_ours), _, force = run_tree(exe, workdir, pos, q, levels_for(n, per_leaf), terms, theta, fft_block)
            err_ours = rel_rms(force[sample], f_ref)
            start = time.process_time()
            out = fmm3dpy.lfmm3d(eps=eps, sources=np.ascontiguousarray(pos.T), charges=q, pg=2)
            t_ref = time.process_time() - start
            # Its Laplace kernel may carry 1/(4 pi): take the normalisation from the potentials.
            norm = np.dot(out.pot[sample], pot_ref) / np.dot(pot_ref, pot_ref)
            scale = 4.0 * math.pi if abs(4.0 * math.pi * norm - 1.0) < 1e-2 else 1.0
            f_fmm = -scale * q[sample, None] * out.grad[:, sample].T
            err_ref = rel_rms(f_fmm, f_ref)
            print(f"{n:9d} {terms:5d} {t_ours:8.3f} {err_ours:10.2e} {eps:7.0e} {t_ref:8.3f} {err_ref:10.2e} "
                  f"{t_ours / t_ref:10.2f}")
        n *= 10


def parse_match(text):
    pairs = []
    for item in text.split(","):
        terms, eps = item.split(":")
        pairs.append((int(terms), float(eps)))
    return pairs


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--max-n", type=int, default=1_000_000)
    parser.add_argument("--terms", type=int, default=12, help="terms of the scaling table")
    parser.add_argument("--theta", type=float, default=0.7)
    parser.add_argument("--per-leaf", type=int, default=40)
    parser.add_argument("--fft-block", type=int, default=4, help="FFT block size (0: direct transfer)")
    parser.add_argument("--match", type=parse_match, default=parse_match("8:1e-3,16:1e-4"),
                        help="pairs terms:eps of similar force error, ours against fmm3dpy")
    parser.add_argument("--skip-accuracy", action="store_true")
    parser.add_argument("--skip-scaling", action="store_true")
    parser.add_argument("--skip-fmm3d", action="store_true")
    args = parser.parse_args()
    sys.stdout.reconfigure(line_buffering=True)
    if os.environ.get("OMP_NUM_THREADS") != "1":
        os.environ["OMP_NUM_THREADS"] = "1"
        os.execv(sys.executable, [sys.executable, *sys.argv])
    with tempfile.TemporaryDirectory() as tmp:
        workdir = pathlib.Path(tmp)
        exe = build_driver(workdir)
        if not args.skip_accuracy:
            accuracy_table(exe, workdir, args.theta, max(args.fft_block, 1))
        if not args.skip_scaling:
            scaling_table(exe, workdir, args.max_n, args.terms, args.theta, args.per_leaf, args.fft_block)
        if not args.skip_fmm3d:
            fmm3d_table(exe, workdir, args.max_n, args.theta, args.per_leaf, args.fft_block, args.match)


if __name__ == "__main__":
    main()
