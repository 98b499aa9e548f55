"""Several families in one force call: each pair goes to its own family and the results add."""

import numpy as np

from pelix.inputs import potfor_in_text


def test_buckbw_and_zblpotl_pairs_add_up_to_the_whole(workdir):
    # A jittered 4 x 5 x 2 grid: no two atoms closer than 1.3 A, across the periodic faces too.
    box, grid = np.array([8.0, 8.5, 9.0]), np.indices((4, 5, 2)).reshape(3, -1).T
    pos = (grid + 0.5 + np.random.default_rng(7).uniform(-0.1, 0.1, grid.shape)) * box / (4, 5, 2)
    specie = (np.arange(40) % 3).tolist()  # Fe, O, C
    results = []
    for buckbw, zblpotl in (("BUCKBW", "ZBLPOTL"), ("BUCKBW", "ZERO"), ("ZERO", "ZBLPOTL")):
        workdir.write("potfor.IN", potfor_in_text(
            [("Fe", "Fe", buckbw), ("Fe", "O_", buckbw), ("O_", "O_", buckbw),
             ("Fe", "C_", zblpotl), ("O_", "C_", zblpotl), ("C_", "C_", "ZERO")]))
        results += workdir.run_calls("FeO_C_", [(specie, pos.ravel().tolist())], box.tolist())
    (e, pe, f), (e_b, pe_b, f_b), (e_z, pe_z, f_z) = results
    # Both parts really contribute, so the sums below test the bookkeeping of each.
    carbon = np.array(specie) == 2
    assert abs(e_b) > 1.0 and abs(e_z) > 1.0
    assert np.all(f_b[carbon] == 0.0) and np.any(f_z[carbon] != 0.0)
    scale = np.abs(f).max()
    assert abs(e - e_b - e_z) <= 1e-10 * abs(e) and abs(pe.sum() - e) <= 1e-10 * abs(e)
    np.testing.assert_allclose(f, f_b + f_z, rtol=0, atol=1e-10 * scale)
    np.testing.assert_allclose(pe, pe_b + pe_z, rtol=0, atol=1e-10 * scale)
