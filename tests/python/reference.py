"""Reference sums written independently of the engine, for comparing whole force calls."""

from __future__ import annotations

import numpy as np


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
