"""Whole force calls against LAMMPS on the same physics: bcc iron with "ACKLAND" and iron with
Ti, Y and O solutes with "BUCKBW", 2 000 shaken atoms in a periodic box. LAMMPS reads tables
written from the published forms (benchmarks/lammps_tables.py), so this checks the assembly of
a call (neighbour list, periodic images, embedding, force and energy bookkeeping) against an
independent program, to the accuracy of its tables."""

import os
import sys
from pathlib import Path

import numpy as np
import pytest

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "benchmarks"))

from lammps_compare import LAMMPS, OURS, check_agreement, run_child  # noqa: E402


# LAMMPS is not built for the sanitizers' preloaded runtime; the ordinary run checks this.
@pytest.mark.skipif(os.environ.get("PELIX_SANITIZED") == "1", reason="third-party program")
@pytest.mark.parametrize("system", ["ackland", "buckbw"])
def test_energy_and_forces_agree_with_lammps_on_tables_of_the_same_functions(tmp_path, system):
    files = [str(tmp_path / f"{program}.npy") for program in ("ours", "lammps")]
    ours = run_child(OURS, [system, "2000", "1", files[0]], str(tmp_path))
    theirs = run_child(LAMMPS, [system, "2000", "1", files[1], "rebuild"], str(tmp_path))
    assert ours["atoms"] == theirs["atoms"] == 2000
    try:
        energy, typical, largest = check_agreement(np.load(files[0]), np.load(files[1]), 2000,
                                                   system)
    except SystemExit as disagreement:
        pytest.fail(str(disagreement))
    assert max(energy, typical, largest) > 0.0  # two programs, not one result read twice
