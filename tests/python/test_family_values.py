"""Families against values that do not come from the engine's own formulas: dimer energies
computed by hand from the published forms and constants, published lattice constants, and
the analytic functions that the table families' files sample. (The growing cut-off of
"ACKLIST" is checked with the family table in C++.)"""

import itertools
import json
import math

import numpy as np
import pytest

import families as fam

# Dimer energies (r in A, E in eV) computed by hand from the published forms and constants:
# per pair, one distance in each region (screened repulsion, bridge, own form, taper).
BUCKBW_DIMERS = [
    ("Fe", "Fe", (0.776, 304.6089402203928), (1.385, 20.60989701448807),
     (2.1, -0.01534546572782336), (3.515, -0.05795297123679959)),
    ("Ti", "Ti", (1.224, 41.0775551463281), (2.005, 3.242264245005913),
     (2.78, -0.6338900751134551), (4.695, -0.05138927604179545)),
    ("Y_", "Y_", (1.44, 38.622227800612976), (2.4, 2.448142374400618),
     (3.3, -0.5327501358971678), (5.09, -0.06390780872987151)),
    ("Fe", "Y_", (1.2, 69.62893224571282), (1.875, 6.63980795898425),
     (2.55, 0.049409837497725206), (5.03, -0.023013605372307913)),
    ("Fe", "Ti", (1.096, 72.71553992164439), (1.835, 4.208746569923278),
     (2.6, -0.6590224125054145), (4.13, -0.051072631631185875)),
    ("Ti", "Y_", (1.536, 19.960937933105157), (2.36, 1.4415365170919188),
     (3.1, -0.47659721150248924), (5.46, -0.022946555250496686)),
    ("Fe", "O_", (0.6, 287.0893484494151), (1.05, 37.130312060405686),
     (1.65, -0.4853693308735991), (3.62, -0.02204587967899178)),
    ("Ti", "O_", (0.48, 503.7510707901566), (0.95, 81.13702116624836),
     (1.6, 1.1577949714266431), (3.65, -0.030892294462133877)),
    ("Y_", "O_", (0.68, 265.5305235836843), (1.25, 28.88208881835635),
     (1.95, -1.3714787079842221), (3.65, -0.08277607242681216)),
    ("O_", "O_", (0.96, 26.941500715633367), (1.475, 5.598601113351435),
     (2.05, 2.736798129476766), (3.725, 0.12674730221082736)),
]
# dV/dr of the shifted screened repulsion as the family defines it: S'/r - V/r, the shift
# inside V, so that the force differs from minus the gradient by shift / r.
BUCKBW_SHIFTED_SLOPES = {("Y_", "Y_"): -129.69837598564183, ("Fe", "Y_"): -259.77330001264176,
                         ("Ti", "O_"): -2775.1014572079616, ("Y_", "O_"): -1242.0184374614528}
MORSEPT_DIMERS = [
    ("P_", "P_", (0.72, 176.24007994660911), (1.375, 16.452520698242534),
     (2.6, 0.1442916740008007), (4.02, -0.09611083929529736)),
    ("P_", "Fe", (0.8, 184.12987748803084), (1.55, 13.815694687414862),
     (2.16, -0.8382976817443769), (2.664, -0.42011335939387695)),
]
ZBLPOTL_DIMERS = [
    ("Ag", "C_", (2.0, 2.6082108496366), (3.5, 0.04524220367778924)),
    ("Fe", "C_", (2.0, 2.0259211667028145), (3.48475, 0.04162050144558861)),
    ("Mg", "C_", (2.0, 1.3905557678184162), (3.5, 0.032206225392332415)),
    ("O_", "C_", (2.0, 1.1192038989221176), (3.5, 0.027705566828268167)),
    ("Au", "C_", (2.0, 3.167628774672784), (3.5, 0.047420720909589896)),
    ("Ni", "C_", (2.0, 2.0946491050303084), (3.5, 0.04112868175243164)),
    ("Al", "C_", (2.0, 1.449170506442055), (3.5, 0.033097990554150414)),
    ("Fe", "Y_", (2.0, 5.5408466586544005), (3.5, 0.075195398340663)),
    ("Fe", "O_", (2.0, 2.407340812055452), (3.5, 0.04587413185028851)),
    ("He", "Y_", (2.0, 1.174289387407224), (3.5, 0.024809948144446103)),
]


def dimer_results(workdir, keyword, rows):
    """Energy, per-atom energies and forces of every dimer of `rows` in an open box, the
    second atom at r along (0.6, 0.8, 0) from the first."""
    symbols = sorted({s for row in rows for s in row[:2]})
    named = {frozenset(row[:2]) for row in rows}
    pairs = [(a, b, keyword if frozenset((a, b)) in named else "ZERO")
             for a, b in itertools.combinations_with_replacement(symbols, 2)]
    workdir.use_pairs(pairs, False)
    dimers = [(row[0], row[1], r, e, k) for row in rows for k, (r, e) in enumerate(row[2:])]
    configurations = [([symbols.index(a), symbols.index(b)],
                       [5.0, 5.0, 5.0, 5.0 + 0.6 * r, 5.0 + 0.8 * r, 5.0])
                      for a, b, r, _, _ in dimers]
    results = workdir.run_calls("".join(symbols), configurations, (20.0, 20.0, 20.0))
    return dimers, results


@pytest.mark.parametrize("keyword, rows", [("BUCKBW", BUCKBW_DIMERS),
                                           ("MORSEPT", MORSEPT_DIMERS),
                                           ("ZBLPOTL", ZBLPOTL_DIMERS)])
def test_dimer_energies_in_every_region_of_every_pair(workdir, keyword, rows):
    dimers, results = dimer_results(workdir, keyword, rows)
    for (a, b, r, want, region), (energy, pe, force) in zip(dimers, results):
        assert energy == pytest.approx(want, rel=1e-12), (a, b, r)
        np.testing.assert_allclose(pe, [0.5 * want] * 2, rtol=1e-12)
        np.testing.assert_allclose(force[0], -force[1], rtol=0, atol=1e-12 * np.abs(force).max())
        shifted = BUCKBW_SHIFTED_SLOPES.get((a, b)) if keyword == "BUCKBW" else None
        if shifted is not None and region == 0:
            # The force on the second atom is -dV/dr along the bond.
            np.testing.assert_allclose(force[1], [-0.6 * shifted, -0.8 * shifted, 0.0],
                                       rtol=1e-11, atol=1e-9)


def test_tabulated_pairs_follow_the_morse_pairs_they_sample(workdir):
    workdir.use_pairs(fam.family("MORLIST").pairs, False)
    fam.write_morlist_tables(workdir.path)
    cases = [(pair, r) for pair, (_, _, _, first, last) in fam.MORLIST_MORSE.items()
             for r in np.linspace(first + 1e-6, last - 1e-6, 7)]
    configurations = [(list(pair), [5.0, 5.0, 5.0, 5.0 + 0.6 * r, 5.0 + 0.8 * r, 5.0])
                      for pair, r in cases]
    results = workdir.run_calls("P_Fe", configurations, (20.0, 20.0, 20.0))
    for (pair, r), (energy, _, force) in zip(cases, results):
        v, dv = fam.morse(*fam.MORLIST_MORSE[pair][:3], r)
        assert energy == pytest.approx(v, abs=1e-9), (pair, r)
        np.testing.assert_allclose(force[1, :2], [-0.6 * dv, -0.8 * dv], atol=1e-7)
    # Closer than the first table distance stops the process.
    done = workdir.run('call("P_Fe", [0, 1], [3.0, 3.0, 3.0, 4.15, 3.0, 3.0], (10.0,) * 3)')
    assert done.returncode == 1
    assert [line.strip() for line in done.stdout.splitlines()] == [
        "nrerror: ACKL_INTERACT: RLIJ < 0.2", "program terminated by nerror"]


def test_silver_and_gold_crystals_are_balanced_and_lowest_at_their_lattice_constants(workdir):
    # Published fcc lattice constants: Ag 4.086 A, Au 4.078 A.
    workdir.use_pairs(fam.family("ACKLAND").pairs, True)
    out = workdir.ok(
        """
        import json
        from itertools import product
        base = np.array([[0, 0, 0], [0.5, 0.5, 0], [0.5, 0, 0.5], [0, 0.5, 0.5]])
        corners = np.array(list(product(range(3), repeat=3)), dtype=float)
        unit = ((corners[:, None, :] + base[None, :, :]).reshape(-1, 3) + 0.1).ravel()
        results = {}
        for specie, a0 in ((1, 4.086), (2, 4.078)):
            rows = []
            for a in (a0 * 0.995, a0, a0 * 1.005):
                result, out = call("FeAgAu", [specie] * 108, unit * a, (3 * a,) * 3)
                rows.append([result[0], out["pearray"].tolist(), np.abs(out["force"]).max()])
            results[specie] = rows
        print(json.dumps(results))
        """
    )
    for (below, _, _), (at, pe, largest_force), (above, _, _) in json.loads(
            out.splitlines()[-1]).values():
        assert at / 108 < -2.0 and at < below and at < above
        np.testing.assert_allclose(pe, at / 108, rtol=1e-12)
        assert largest_force < 1e-12


@pytest.mark.parametrize("periodic", [False, True])
def test_ternary_alloy_follows_the_functions_its_tables_sample(workdir, periodic):
    # Per-atom energies from the sampled functions; the forces follow from them by the
    # gradient check of the property suite.
    family = fam.family("TERNARY")
    workdir.use_pairs(family.pairs, periodic)
    family.write_inputs(workdir.path)
    specie, pos = fam.sample(family, 4, periodic)
    [(energy, pe, _)] = workdir.run_calls(family.species, [(specie, pos)], (family.box,) * 3)
    pos, density, pe_ref = np.reshape(pos, (-1, 3)), np.zeros(len(specie)), np.zeros(len(specie))
    for i, j in itertools.permutations(range(len(specie)), 2):
        d = pos[j] - pos[i]
        r = float(np.linalg.norm(d - periodic * family.box * np.round(d / family.box)))
        if r < 5.18:
            density[i] += fam.ternary_rho(specie[j], r)[0]
            pe_ref[i] += 0.5 * fam.morse(*fam.TERNARY_MORSE[tuple(sorted((specie[i], specie[j])))],
                                         r)[0]
    pe_ref += [fam.ternary_embed(e, p)[0] for e, p in zip(specie, density)]
    np.testing.assert_allclose(pe, pe_ref, rtol=0, atol=1e-8)
    assert energy == pytest.approx(pe_ref.sum(), rel=1e-9)
