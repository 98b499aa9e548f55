"""Coulomb terms through whole force calls: Ewald forces against the energy gradient and the
triangle-layer estimate. The stop for a negative multipole flag is in test_force_call.py."""

import math

import numpy as np

from pelix.inputs import pelix_in_text, potfor_in_text

PAIRS = [("Y", "Y", "ZERO"), ("Y", "O", "ZERO"), ("O", "O", "ZERO")]


def test_ewald_forces_are_minus_the_energy_gradient(workdir):
    workdir.use_pairs(PAIRS, periodic=True)  # Ewald sums
    pos = np.random.default_rng(7).uniform(0.5, 9.5, 18).tolist()
    error = workdir.ok(
        f"""
        print(fd_force_error("Y_O_", [0, 1, 1, 0, 1, 1], {pos}, (10.0, 10.5, 11.0),
                             charge=np.array([1.5, -0.5, -1.0, 2.0, -1.2, -0.8])))
        """
    )
    assert float(error.splitlines()[-1]) < 1e-6


def dsf_pair_energy(qq, r):
    a = math.erfc(2.25) / 15.0
    b = math.erfc(2.25) / 225.0 + 0.3 / math.sqrt(math.pi) * math.exp(-5.0625) / 15.0
    return 14.39964485168457 * qq * (math.erfc(0.15 * r) / r - a + (r - 15.0) * b)


def test_triangle_layers_take_the_damped_shifted_force_sum_of_yttrium_and_oxygen(workdir):
    # Y, O and Fe atoms in a periodic box: only Y and O are listed; no periodic image is taken
    # (the O atom near the far face is 14 A from the Y atom inside, not 6 A through the face).
    workdir.write("pelix.IN", pelix_in_text(multipole_flag=2))
    workdir.write("potfor.IN", potfor_in_text(
        PAIRS + [("Fe", "Fe", "ZERO"), ("Fe", "Y", "ZERO"), ("Fe", "O", "ZERO")]))
    pos = [2.0, 5.0, 5.0, 5.0, 5.0, 5.0, 16.0, 5.0, 5.0, 3.0, 6.0, 5.0]
    out = workdir.ok(
        f"""
        result, out = call("Y_O_Fe", [0, 1, 1, 2], {pos}, (20.0, 20.0, 20.0),
                           charge=np.array([3.0, -2.0, -2.0, 1.0]))
        print(result[0], *out["pearray"])
        """
    )
    values = [float(v) for v in out.split()[-5:]]
    pairs = {(0, 1): dsf_pair_energy(-6.0, 3.0), (0, 2): dsf_pair_energy(-6.0, 14.0),
             (1, 2): dsf_pair_energy(4.0, 11.0)}
    expected = [0.5 * sum(e for pair, e in pairs.items() if k in pair) for k in range(4)]
    assert np.allclose(values[1:], expected, rtol=1e-12, atol=1e-14)
    assert math.isclose(values[0], sum(expected), rel_tol=1e-12)
