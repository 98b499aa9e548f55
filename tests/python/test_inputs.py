"""Input-file writers and the "potfor.IN" reader: layout, validation, and the engine reading a
written run configuration."""

import subprocess
import sys

import pytest

from pelix.inputs import (
    RUN_SETTINGS,
    lattice_in_text,
    pelix_in_text,
    potfor_in_text,
    read_potfor_in,
    write_inputs,
)

# Line of each setting in "pelix.IN", written out from the file layout, and a value other
# than the default with the leading text the line must start with.
NON_DEFAULT = {
    "bgorct": (1, "CNTIN", "CNTIN"), "simustage": (2, "PRODU", "PRODU"),
    "simutype": (3, "INDEN", "INDEN"), "ident": (4, "T1", "T1    "),
    "pbc": (5, (0, 1, 1), " 0 1 1"), "pcskin": (6, 5.0, " 5.0"), "dt": (7, 0.5, " 0.5"),
    "runtim": (8, 250.0, " 250.0"), "fe_flag": (9, 1, " 1"), "youngs": (10, 1.5, " 1.5"),
    "poissons": (11, 0.3, " 0.3"), "roe": (12, 2.0, " 2.0"),
    "thermtype": (13, "BERENDSEN", " BERENDSEN"), "ttemp": (14, 300.0, " 300.0"),
    "ptemp": (15, 10.0, " 10.0"), "safevr": (16, 20.0, " 20.0"), "picevr": (17, 30.0, " 30.0"),
    "ke_vtk": (18, True, " T"), "pe_vtk": (19, True, " T"), "animation_flag": (20, True, " T"),
    "animation_frequency": (21, 5.0, " 5.0"), "multipole_flag": (22, 2, " 2"),
    "neb_flag": (23, True, " T"), "chargesinxyz": (24, True, " T"),
    "velocityinxyz": (25, True, " T"), "zip_flag": (26, True, " T"),
    "fixatomsoutside": (27, True, " T"), "latticeskin": (28, 3.5, " 3.5"),
    "chargerecoverysim": (29, True, " T"), "chargerecoveryhalflife": (30, 7.0, " 7.0"),
    "chargerecoverytimestep": (31, 0.25, " 0.25"), "failsafebackupflag": (32, True, " T"),
    "use_pipe": (33, True, " T"), "minfileoutput": (34, True, " T"),
}


def test_every_run_setting_lands_in_its_own_line():
    assert set(NON_DEFAULT) == set(RUN_SETTINGS)
    lines = pelix_in_text(**{name: value for name, (_, value, _) in NON_DEFAULT.items()})
    lines = lines.splitlines()
    assert len(lines) == 34
    for name, (number, _, lead) in NON_DEFAULT.items():
        line = lines[number - 1]
        assert line.startswith(lead + " "), (name, line)
    # Defaults: a fresh run, periodic, with the thermostat off.
    default = pelix_in_text().splitlines()
    assert default[0][:5] == "BEGIN" and default[4].split()[:3] == ["1", "1", "1"]
    assert default[12].split()[0] == "NO_THERMOSTAT"


@pytest.mark.parametrize(
    "settings",
    [
        {"pcskn": 1.0}, {"pbc": (1, 2, 1)}, {"pbc": (1, 1)}, {"multipole_flag": 3},
        {"dt": 0.0}, {"ttemp": float("nan")}, {"ttemp": -1.0}, {"runtim": "1000"},
        {"ident": "SEVENCH"}, {"ident": "A B"}, {"simutype": "COLLISION"},
        {"bgorct": "begin"}, {"ke_vtk": 1}, {"thermtype": "NOSE HOOVER"}, {"fe_flag": 1.0},
    ],
)
def test_bad_run_settings_are_refused(settings):
    with pytest.raises((ValueError, TypeError)):
        pelix_in_text(**settings)


def test_lattice_slabs_are_checked_and_counted_per_axis():
    text = lattice_in_text(x=[("FX", 0.0, 2.0), ("TH", 8.0, 10.0)], z=[("DP", 5, 0)])
    assert text.splitlines() == ["2", "FX 0.0 2.0", "TH 8.0 10.0", "0", "1", "DP 5.0 0.0"]
    for bad in ([("XX", 0.0, 1.0)], [("FX", 0.0, float("inf"))], [("FX", 0.0)]):
        with pytest.raises(ValueError):
            lattice_in_text(y=bad)


def test_pair_records_use_engine_symbols_and_known_keywords(tmp_path):
    text = potfor_in_text([("Fe", "O", "BUCKBW"), ("O_", "O_", "BUCKBW"), ("P", "Fe", "MORSEPT")])
    assert text.splitlines()[2:] == ["3", "Fe O_ BUCKBW", "O_ O_ BUCKBW", "P_ Fe MORSEPT"]
    with pytest.raises(ValueError, match="not in the engine's element table"):
        potfor_in_text([("N", "Fe", "ZERO")])
    with pytest.raises(ValueError, match="'BUCKBW'"):
        potfor_in_text([("Fe", "Fe", "buckbw")])
    with pytest.raises(ValueError):
        potfor_in_text([])
    # The reader takes what the engine takes: list-directed items, two-character symbols and
    # twelve-character keywords.
    path = tmp_path / "potfor.IN"
    path.write_text("title\ncomment\n 3 / count\n'Fe','O_' BUCKBW\nO Y_  ZBLPOTLXXXXXXX\n"
                    "Fe Fe ZERO / rest\nnot read\n")
    assert read_potfor_in(path) == [("Fe", "O_", "BUCKBW"), ("O ", "Y_", "ZBLPOTLXXXXX"),
                                    ("Fe", "Fe", "ZERO")]
    for broken in ("t\nc\nthree\n", "t\nc\n2\nFe Fe ZERO\n", "t\nc\n1\nFe ZERO\n"):
        path.write_text(broken)
        with pytest.raises(ValueError):
            read_potfor_in(path)


def test_engine_reads_a_written_run_configuration(tmp_path):
    # Settings that change the force call: open x axis, and an indentation run, whose region
    # reaches 100 A further below the box along y.
    settings = {name: value for name, (_, value, _) in NON_DEFAULT.items()}
    settings.update(multipole_flag=1, fe_flag=0, fixatomsoutside=False)
    write_inputs(tmp_path, pairs=[("Fe", "Fe", "BUCKBW")], **settings)
    script = """
import numpy as np, PELIXInterface as P
assert P.read_pelix_in() == 0
def call(pos):
    n = len(pos) // 3
    out = np.zeros(3 * n), np.zeros(n), np.zeros(n)
    return P.calcforce(-1, "Fe", np.zeros(n, np.int32), np.array(pos, float), np.zeros(n),
                       *out, 10.0, 10.0, 10.0, np.zeros(0, np.int32), np.zeros(0, np.int32))
# 2.5 A apart only through the periodic image along x, which is open here.
print(call([0.5, 5.0, 5.0, 8.0, 5.0, 5.0])[0], call([0.5, 5.0, 5.0, 3.0, 5.0, 5.0])[0])
print(call([0.5, -550.0, 5.0, 8.0, 5.0, 5.0])[3])
"""
    done = subprocess.run([sys.executable, "-c", script], cwd=tmp_path, capture_output=True,
                          text=True, timeout=120)
    assert done.returncode == 0, done.stdout + done.stderr
    lines = done.stdout.splitlines()
    across, direct = map(float, lines[-2].split())
    assert across == 0.0 and direct != 0.0
    assert lines[-1] == "0"
