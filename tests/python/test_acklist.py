"""Whole force calls with the tabulated iron embedded-atom family "ACKLIST", whose cut-off
radius grows by the lattice constant 2.8665 at every force call of a process."""

import itertools
import json
import math

import numpy as np
import pytest

TABLE = "POTFOR-SPLINES/FeFe_pw_for_potfor_acklist.IN"
FIRST_RADIUS = 1.3 * 2.8665
# The iron density: knots and coefficients.
RR = (2.4, 3.2, 4.2)
AR = (11.68685940797, -0.01471074009883, 0.47193527075943)


def pair_energy(r):
    return 2.0 * math.exp(-0.6 * r) - math.exp(-0.3 * r)


def pair_force(r):
    return 1.2 * math.exp(-0.6 * r) - 0.3 * math.exp(-0.3 * r)


def density(r):
    return sum(a * (k - r) ** 3 for k, a in zip(RR, AR) if k > r)


def use_box(workdir, periodic, first, last, points):
    workdir.use_pairs([("Fe", "Fe", "ACKLIST")], periodic)
    workdir.write_table(TABLE, first, last, points, lambda x: (pair_energy(x), pair_force(x)))


def expected_energy(pos, radius, table_end):
    """Open box: every pair closer than the cut-off radius is a bond; the pair term up to the
    end of the table, the density of all bonds, the embedding -sqrt(rho)."""
    pos = np.asarray(pos).reshape(-1, 3)
    rho = np.zeros(len(pos))
    energy = 0.0
    for i, j in itertools.combinations(range(len(pos)), 2):
        r = float(np.linalg.norm(pos[j] - pos[i]))
        if r < radius:
            energy += pair_energy(r) if r <= table_end else 0.0
            rho[i] += density(r)
            rho[j] += density(r)
    return energy - np.sqrt(rho).sum()


def test_each_force_call_uses_a_cut_off_radius_2_8665_times_larger(workdir):
    use_box(workdir, False, 1.0, 16.0, 1501)
    # Around A: B 3.73 and D 3.72 away (just beyond and within the first radius), E 10.67 and
    # C 10.69 away (within and just beyond the second); all pairs lie within the third.
    a = np.array([25.0, 25.0, 25.0])
    pos = np.array([a, a + [3.73, 0, 0], a - [10.69, 0, 0], a + [0, 3.72, 0],
                    a - [0, 10.67, 0]])
    out = workdir.ok(
        f"""
        import json
        pos = np.array({pos.ravel().tolist()!r})
        energies = []
        for call_number in range(3):
            result, _ = call("Fe", [0] * 5, pos, (50.0, 50.0, 50.0))
            assert result[3] == 0, result
            energies.append(result[0])
        print(json.dumps(energies))
        """
    )
    energies = json.loads(out.splitlines()[-1])
    radii = [FIRST_RADIUS * 2.8665 ** k for k in range(3)]
    for energy, radius in zip(energies, radii):
        assert energy == pytest.approx(expected_energy(pos, radius, 16.0), abs=1e-8)
    # The calls really differ: one bond, then four, then all ten.
    assert len({round(e, 6) for e in energies}) == 3


def cluster(seed, n, box, periodic):
    """Iron atoms around a corner of the box (across its faces when periodic) and at least
    1.9 A apart. No pair lies from 3.72 to 4.21 A, where a bond would depend on the growing
    cut-off radius, nor within 1e-3 A of the end of the table (3.6 A), where the pair term
    drops to zero: the energy is then the same at every call."""
    rng = np.random.default_rng(seed)
    box = np.asarray(box)
    centre = np.zeros(3) if periodic else np.full(3, 8.0)
    while True:
        pos = centre + rng.uniform(-4.0, 4.0, size=(n, 3))
        distances = [float(np.linalg.norm(p - q)) for p, q in itertools.combinations(pos, 2)]
        if all(r > 1.9 and not 3.72 <= r <= 4.21 and abs(r - 3.6) > 1e-3 for r in distances):
            if sum(r < 3.6 for r in distances) >= n:
                return np.mod(pos, box) if periodic else pos


def test_open_box_forces_are_minus_the_energy_gradient(workdir):
    use_box(workdir, False, 1.0, 3.6, 261)
    box = (16.0, 16.5, 17.0)
    pos = cluster(5, 10, box, False)
    assert workdir.gradient_error("Fe", [0] * 10, pos, box) < 1e-6


def test_periodic_forces_are_minus_the_energy_gradient_across_the_faces(workdir):
    # Three calls per process fit in this box before the radius reaches the periodic images:
    # the forces, then the energy one step up and one step down along one coordinate.
    use_box(workdir, True, 1.0, 3.6, 261)
    box = (50.0, 50.5, 51.0)
    pos = cluster(9, 8, box, True)
    h = 1e-5
    forces, numeric = None, []
    for k in range(12):
        out = workdir.ok(
            f"""
            import json
            pos, box, k, h = np.array({pos.ravel().tolist()!r}), {box!r}, {k}, {h}
            result, out = call("Fe", [0] * 8, pos, box)
            plus, minus = pos.copy(), pos.copy()
            plus[k] += h
            minus[k] -= h
            difference = energy("Fe", [0] * 8, plus, box) - energy("Fe", [0] * 8, minus, box)
            print(json.dumps([out["force"].tolist(), -difference / (2 * h)]))
            """
        )
        force, slope = json.loads(out.splitlines()[-1])
        forces = np.array(force)
        numeric.append(slope)
    scale = np.abs(forces).max()
    assert scale > 0.1
    assert np.abs(forces[:12] - numeric).max() < 1e-6 * scale
