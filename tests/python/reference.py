"""Reference sums written independently of the engine, for comparing whole force calls."""

from __future__ import annotations

import math
from pathlib import Path

import numpy as np


def zbl(z1, z2, r):
    """Screened nuclear repulsion of atomic numbers z1, z2 at r with the universal screening
    length: (V, -dV/dr)."""
    a = 0.88534 * 0.53 / (z1 ** 0.23 + z2 ** 0.23)
    terms = [c * z1 * z2 * 14.399652003564425 * math.exp(-d * r / a)
             for c, d in zip((0.02817, 0.2802, 0.5099, 0.1818), (0.2016, 0.4029, 0.9423, 3.2))]
    s = sum(terms)
    ds = sum(-d / a * t for d, t in zip((0.2016, 0.4029, 0.9423, 3.2), terms))
    return s / r, -(ds / r - s / r ** 2)


def pair_sums(specie, pos, box, periodic, pair_term):
    """Total energy, per-atom energies and forces (flattened) of a pair potential summed over
    every pair once, at its nearest image when periodic.

    pair_term(si, sj, r) gives (E, F = -dE/dr) of species si, sj at distance r, or None when
    the pair does not interact. Each atom gets half of E; a positive F pushes the atoms apart.
    """
    pos = np.asarray(pos, dtype=float).reshape(-1, 3)
    box = np.asarray(box, dtype=float)
    n = len(pos)
    pe, force = np.zeros(n), np.zeros((n, 3))
    for i in range(n):
        for j in range(i + 1, n):
            d = pos[j] - pos[i]
            if periodic:
                d -= box * np.round(d / box)
            r = float(np.linalg.norm(d))
            term = pair_term(specie[i], specie[j], r)
            if term is None:
                continue
            e, f = term
            pe[i] += 0.5 * e
            pe[j] += 0.5 * e
            force[j] += f * d / r
            force[i] -= f * d / r
    return pe.sum(), pe, force.ravel()


def write_table(path, x0: float, x1: float, n: int, columns) -> None:
    """A table file of n records "x c1 c2 ..." at x = x0 .. x1 evenly spaced, count first,
    with the columns that columns(x) returns; its folder is made when missing."""
    path = Path(path)
    path.parent.mkdir(parents=True, exist_ok=True)
    xs = [x0 + (x1 - x0) * k / (n - 1) for k in range(n)]
    records = [" ".join(repr(float(v)) for v in (x, *columns(x))) for x in xs]
    path.write_text("\n".join([str(n)] + records) + "\n")
