"""Several families in one force call: each pair goes to its own family and the results add."""

import json

import numpy as np
import pytest

from pelix.inputs import potfor_in_text

SPECIES = "FeO_C_"
BUCKBW_PAIRS = [("Fe", "Fe"), ("Fe", "O_"), ("O_", "O_")]
ZBLPOTL_PAIRS = [("Fe", "C_"), ("O_", "C_")]


def potfor(buckbw: str, zblpotl: str) -> str:
    return potfor_in_text(
        [(a, b, buckbw) for a, b in BUCKBW_PAIRS]
        + [(a, b, zblpotl) for a, b in ZBLPOTL_PAIRS]
        + [("C_", "C_", "ZERO")]
    )


def run(workdir, buckbw: str, zblpotl: str):
    """Energy, forces and per-atom energies of one disordered periodic Fe-O-C configuration."""
    workdir.write("potfor.IN", potfor(buckbw, zblpotl))
    out = workdir.ok(
        """
        import json
        rng = np.random.default_rng(7)
        box = (8.0, 8.5, 9.0)
        n = 40
        pos = np.empty((0, 3))
        while len(pos) < n:  # no two atoms closer than 1.2 A, across the periodic faces too
            trial = rng.random(3) * box
            d = pos - trial
            d -= np.round(d / box) * box
            if len(pos) == 0 or np.min(np.linalg.norm(d, axis=1)) > 1.2:
                pos = np.vstack([pos, trial])
        specie = np.arange(n) % 3
        result, out = call("FeO_C_", specie, pos.reshape(-1), box)
        print(json.dumps([result[0], result[3], out["force"].tolist(), out["pearray"].tolist(),
                          specie.tolist()]))
        """
    )
    energy, status, force, pe, specie = json.loads(out.strip().splitlines()[-1])
    assert status == 0
    return energy, np.array(force), np.array(pe), np.array(specie)


def test_buckbw_and_zblpotl_pairs_add_up_to_the_whole(workdir):
    whole = run(workdir, "BUCKBW", "ZBLPOTL")
    buckbw_only = run(workdir, "BUCKBW", "ZERO")
    zblpotl_only = run(workdir, "ZERO", "ZBLPOTL")

    # Both parts really contribute, so the sum below tests the bookkeeping of each.
    assert abs(buckbw_only[0]) > 1.0 and abs(zblpotl_only[0]) > 1.0
    carbon = whole[3] == 2
    assert np.all(buckbw_only[2][carbon] == 0.0)
    assert np.any(zblpotl_only[2][carbon] != 0.0)

    scale = np.abs(whole[1]).max()
    assert abs(whole[0] - buckbw_only[0] - zblpotl_only[0]) <= 1e-10 * abs(whole[0])
    assert np.allclose(whole[1], buckbw_only[1] + zblpotl_only[1], rtol=0, atol=1e-10 * scale)
    assert np.allclose(whole[2], buckbw_only[2] + zblpotl_only[2], rtol=0, atol=1e-10 * scale)
    assert abs(whole[2].sum() - whole[0]) <= 1e-10 * abs(whole[0])
