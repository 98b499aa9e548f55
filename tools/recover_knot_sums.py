#!/usr/bin/env python3
"""Recover analytic forms from a tabulated embedded-atom file (eam/alloy or eam/fs).

Blocks are named  F:El  (embedding),  rho:El  or  rho:El:Host  (density; the
second form for eam/fs files) and  phi:A-B  (pair; the file stores r*phi).

Forms tried:
  pair / density   sum_k a_k (t_k - r)^3 H(t_k - r)  [+ c * extra block]
                   knots t_k come from jumps of the third differences, are
                   refined by least squares and may be rounded (--round-knots);
  density          --screened:  A exp(-beta r)/r * x^4/(1+x^4),  x = (r-rc)/h
  embedding        sum_p c_p rho^p  for the powers of --powers.
Residuals are printed in the table's own units and in units of the last
printed digit of each table entry ("ulp"); <= 0.5 ulp means the table is
reproduced to its rounding.

Example:
  recover_knot_sums.py pot.eam.alloy phi:Fe-Fe --extra rho:Fe --round-knots 8
"""
import argparse
import re
import numpy as np


def read_table(path):
    """Return dict with grids, blocks (name -> values) and ulps (name -> ulp)."""
    lines = open(path).read().split('\n')
    els = lines[3].split()
    names = els[1:1 + int(els[0])]
    nrho, drho, nr, dr, rcut = lines[4].split()
    nrho, nr, drho, dr = int(nrho), int(nr), float(drho), float(dr)
    toks = ' '.join(lines[5:]).split()
    ne = len(names)
    per_el = 4 + nrho + nr
    npair = ne * (ne + 1) // 2 * nr
    fs = len(toks) >= ne * (4 + nrho + ne * nr) + npair
    blocks, i = {}, 0
    for e in names:
        i += 4                                   # Z, mass, lattice constant, lattice
        blocks['F:' + e] = toks[i:i + nrho]
        i += nrho
        for host in (names if fs else [None]):
            blocks['rho:' + e + (':' + host if host else '')] = toks[i:i + nr]
            i += nr
    for a in range(ne):
        for b in range(a + 1):
            blocks['phi:%s-%s' % (names[b], names[a])] = toks[i:i + nr]
            i += nr
    ulps = {k: np.array([ulp_of(t) for t in v]) for k, v in blocks.items()}
    blocks = {k: np.array(v, float) for k, v in blocks.items()}
    return dict(rcut=float(rcut), r=np.arange(nr) * dr, rho=np.arange(nrho) * drho, dr=dr,
                drho=drho, blocks=blocks, ulps=ulps, per_el=per_el)


def ulp_of(tok):
    """Value of one unit in the last printed digit of a number token."""
    m = re.match(r'[-+]?(\d*)\.?(\d*)(?:[eE]([-+]?\d+))?$', tok)
    if not m:
        return 0.0
    return 10.0 ** ((int(m.group(3)) if m.group(3) else 0) - len(m.group(2)))


def lookup(tab, name):
    """Block by name; pair names are accepted in either element order."""
    if name in tab['blocks']:
        return name
    if name.startswith('phi:'):
        a, b = name[4:].split('-')
        alt = 'phi:%s-%s' % (b, a)
        if alt in tab['blocks']:
            return alt
    raise SystemExit('no block %s; have: %s' % (name, ', '.join(tab['blocks'])))


def cubes(x, knots):
    return np.array([np.where(x < t, (t - x) ** 3, 0.0) for t in knots]).T.reshape(len(x), len(knots))


def wlsq(B, y, w):
    """Weighted linear least squares; returns coefficients and weighted residual."""
    a = np.linalg.lstsq(B * w[:, None], y * w, rcond=None)[0]
    return a, (B @ a - y) * w


def detect_knots(x, y, ulp, h, xmin, window=12, factor=4.0):
    """Approximate knots: places where the plateaus of the third difference jump.

    A jump counts when it exceeds `factor` times the largest change that the
    rounding of the table alone could cause (8 ulp / h^3 per third difference).
    """
    d3 = np.diff(y, 3) / h ** 3
    d4 = np.abs(np.diff(d3))
    noise = 8 * np.maximum.reduce([ulp[k:len(ulp) - 3 + k] for k in range(4)]) / h ** 3
    found, n, i = [], len(d3), window
    while i < n - window - 4:
        if x[i] > xmin:
            left = np.median(d3[i - window:i])
            right = np.median(d3[i + 4:i + 4 + window])
            thr = factor * noise[i - window:i + 4 + window].max()
            if abs(right - left) > thr and d4[i:i + 4].max() > thr:
                j = i + int(np.argmax(d4[i:i + 4]))
                found.append(x[j + 2])
                i = j + 4 + window // 2
                continue
        i += 1
    return found


def refine_knot(x, y, w, t0, half, h, extra=None):
    """Knot position near t0: golden-section search on a local cubic (+ extra) + one knot fit."""
    m = np.abs(x - t0) < half
    xl, yl, wl = x[m], y[m], w[m]
    base = np.array([np.ones_like(xl), xl - t0, (xl - t0) ** 2, (xl - t0) ** 3]).T
    if extra is not None:
        base = np.column_stack([base, extra[m]])

    def sse(t):
        B = np.column_stack([base, np.where(xl < t, (t - xl) ** 3, 0.0)])
        res = wlsq(B, yl, wl)[1]
        return res @ res
    grid = t0 + np.linspace(-6 * h, 6 * h, 241)      # coarse scan first: sse(t) need not be unimodal
    k = int(np.argmin([sse(t) for t in grid]))
    a, b = grid[max(k - 1, 0)], grid[min(k + 1, len(grid) - 1)]
    g = (np.sqrt(5) - 1) / 2
    c, d = b - g * (b - a), a + g * (b - a)
    fc, fd = sse(c), sse(d)
    while b - a > 1e-13:
        if fc < fd:
            b, d, fd = d, c, fc
            c = b - g * (b - a)
            fc = sse(c)
        else:
            a, c, fc = c, d, fd
            d = a + g * (b - a)
            fd = sse(d)
    return 0.5 * (a + b)


def screened(p, x):
    A, beta, rc, h = p
    z = ((x - rc) / h) ** 4
    return np.where(x < rc, A * np.exp(-beta * x) / x * z / (1 + z), 0.0)


def fit_screened(x, y, w, rc0):
    """Gauss-Newton for A exp(-beta r)/r * x^4/(1+x^4)."""
    p = np.array([y[0] * x[0], 2.0, rc0, 0.25])
    for _ in range(60):
        r0 = (screened(p, x) - y) * w
        d = 1e-7 * np.maximum(np.abs(p), 1.0)
        J = np.array([((screened(p + d[k] * e, x) - y) * w - r0) / d[k] for k, e in enumerate(np.eye(4))]).T
        step = np.linalg.lstsq(J, -r0, rcond=None)[0]
        p = p + step
        if np.abs(step).max() < 1e-14:
            break
    return p


def summary(label, x, model, y, ulp, xmin):
    err = np.abs(model - y)
    u = err / np.where(ulp > 0, ulp, np.inf)
    m = x >= xmin
    print('%s: max |err| %.3e (x >= %g: %.3e), max err/ulp %.3f, rows above 0.5 ulp %d of %d'
          % (label, err.max(), xmin, err[m].max(), u.max(), int((u > 0.5).sum()), len(y)))


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument('file')
    ap.add_argument('block')
    ap.add_argument('--extra', help='another r-block added with a fitted coefficient (e.g. rho:Fe)')
    ap.add_argument('--xmin', type=float, default=1.0, help='start of knot search and of "x >= xmin" residual')
    ap.add_argument('--round-knots', type=int, help='round refined knots to this many decimals, then refit')
    ap.add_argument('--screened', action='store_true', help='density form A exp(-beta r)/r * cutoff')
    ap.add_argument('--powers', default='0.5,1,2,4', help='powers of rho for an embedding block')
    args = ap.parse_args()
    tab = read_table(args.file)
    name = lookup(tab, args.block)
    y, ulp = tab['blocks'][name][1:], tab['ulps'][name][1:]      # row 0 (r = 0 or rho = 0) skipped
    ok = np.isfinite(y)
    w = 1.0 / np.where(ulp > 0, ulp, 1.0)                          # weight: one ulp of each entry
    if name.startswith('F:'):
        x = tab['rho'][1:]
        pw = [float(p) for p in args.powers.split(',')]
        B = np.array([x ** p for p in pw]).T
        a, _ = wlsq(B[ok], y[ok], w[ok])
        for p, c in zip(pw, a):
            print('rho^%-4g %r' % (p, c))
        summary(name, x[ok], (B @ a)[ok], y[ok], ulp[ok], 0.0)
        return
    x = tab['r'][1:]
    pair_mode = name.startswith('phi:')
    if args.screened:
        p = fit_screened(x[ok & (y != 0)], y[ok & (y != 0)], w[ok & (y != 0)], x[np.nonzero(y)[0][-1]] + tab['dr'])
        print('A %r\nbeta %r\nrc %r\nh %r' % tuple(p))
        summary(name, x, screened(p, x), y, ulp, args.xmin)
        return
    extra = None
    if args.extra:
        ename = lookup(tab, args.extra)
        extra = tab['blocks'][ename][1:] * (x if pair_mode else 1.0)
    yy = y / x if pair_mode else y
    # an extra term (e.g. a density added to a pair) is fixed first on a short
    # window at small r, where a knot sum is a single cubic
    yulp = ulp / x if pair_mode else ulp
    if extra is not None:
        m = ok & (x >= 0.3) & (x < 0.8)
        ex = extra / (x if pair_mode else 1.0)
        B = np.column_stack([np.ones(m.sum()), x[m], x[m] ** 2, x[m] ** 3, ex[m]])
        c = np.linalg.lstsq(B, yy[m], rcond=None)[0][-1]
        yy = yy - c * ex
        yulp = yulp + abs(c) * tab['ulps'][ename][1:]     # rounding of the subtracted block
    knots = detect_knots(x, np.where(ok, yy, 0.0), yulp, tab['dr'], args.xmin)
    gaps = np.diff([x[0]] + list(knots) + [x[-1]])
    y0 = y / x if pair_mode else y
    ex = None if extra is None else extra / (x if pair_mode else 1.0)
    knots = [refine_knot(x[ok], y0[ok], np.ones(ok.sum()), t, max(10 * tab['dr'], min(0.05, gaps[k] / 2, gaps[k + 1] / 2)),
                         tab['dr'], None if ex is None else ex[ok]) for k, t in enumerate(knots)]
    if yy[-1] != 0:            # still nonzero at the last row: the file's cut-off is taken as the last knot
        knots.append(tab['rcut'])
    if args.round_knots is not None:
        knots = np.round(knots, args.round_knots)
    B = cubes(x, knots) * (x[:, None] if pair_mode else 1.0)
    if extra is not None:
        B = np.column_stack([B, extra])
    a, _ = wlsq(B[ok], y[ok], w[ok])
    print('%d knots (%s)' % (len(knots), 'r*phi = r*sum a_k (t_k - r)^3' if pair_mode else 'sum a_k (t_k - r)^3'))
    for t, c in zip(knots, a):
        print('  %-22r %r' % (float(t), float(c)))
    if extra is not None:
        print('  extra %s coefficient %r' % (args.extra, float(a[-1])))
    if extra is not None:      # the rounding of the added block also limits the match
        ulp = ulp + abs(a[-1]) * tab['ulps'][ename][1:] * (x if pair_mode else 1.0)
    summary(name, x[ok], (B @ a)[ok], y[ok], ulp[ok], args.xmin)


if __name__ == '__main__':
    main()
