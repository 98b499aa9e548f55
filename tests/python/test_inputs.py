"""Input-file writers and the "potfor.IN" reader: layout, validation, and the engine reading a
written run configuration."""

import pytest

from pelix.inputs import (
    RUN_SETTINGS,
    lattice_in_text,
    pelix_in_text,
    potfor_in_text,
    read_potfor_in,
    write_inputs,
)

# Every setting of "pelix.IN" in the order of its line, with a value other than the default.
SETTINGS = dict(bgorct="CNTIN", simustage="PRODU", simutype="INDEN", ident="T1", pbc=(0, 1, 1),
                pcskin=5.0, dt=0.5, runtim=250.0, fe_flag=1, youngs=1.5, poissons=0.3, roe=2.0,
                thermtype="BERENDSEN", ttemp=300.0, ptemp=10.0, safevr=20.0, picevr=30.0,
                ke_vtk=True, pe_vtk=True, animation_flag=True, animation_frequency=5.0,
                multipole_flag=2, neb_flag=True, chargesinxyz=True, velocityinxyz=True,
                zip_flag=True, fixatomsoutside=True, latticeskin=3.5, chargerecoverysim=True,
                chargerecoveryhalflife=7.0, chargerecoverytimestep=0.25, failsafebackupflag=True,
                use_pipe=True, minfileoutput=True)
# The text each line starts with: the first five as given, the rest a blank and the value (T
# for true).
LEADS = ["CNTIN", "PRODU", "INDEN", "T1    ", " 0 1 1"] + [
    " " + ("T" if v is True else str(v)) for v in list(SETTINGS.values())[5:]]


def test_every_run_setting_lands_in_its_own_line():
    assert set(SETTINGS) == set(RUN_SETTINGS)
    lines = pelix_in_text(**SETTINGS).splitlines()
    assert len(lines) == 34
    for name, lead, line in zip(SETTINGS, LEADS, lines):
        assert line.startswith(lead + " "), (name, line)
    # Defaults: a fresh run, periodic, with the thermostat off.
    default = pelix_in_text().splitlines()
    assert default[0][:5] == "BEGIN" and default[4].split()[:3] == ["1", "1", "1"]
    assert default[12].split()[0] == "NO_THERMOSTAT"


BAD_SETTINGS = [
    {"pcskn": 1.0}, {"pbc": (1, 2, 1)}, {"pbc": (1, 1)}, {"multipole_flag": 3}, {"dt": 0.0},
    {"ttemp": float("nan")}, {"ttemp": -1.0}, {"runtim": "1000"}, {"ident": "SEVENCH"},
    {"ident": "A B"}, {"simutype": "COLLISION"}, {"bgorct": "begin"}, {"ke_vtk": 1},
    {"thermtype": "NOSE HOOVER"}, {"fe_flag": 1.0}]
BAD_SLABS = [[("XX", 0.0, 1.0)], [("FX", 0.0, float("inf"))], [("FX", 0.0)]]
BAD_PAIRS = [([("N", "Fe", "ZERO")], "not in the engine's element table"),
             ([("Fe", "Fe", "buckbw")], "'BUCKBW'"), ([], None)]


@pytest.mark.parametrize("write, args, text", [(pelix_in_text, s, None) for s in BAD_SETTINGS]
                         + [(lambda y: lattice_in_text(y=y), slabs, None) for slabs in BAD_SLABS]
                         + [(potfor_in_text, pairs, text) for pairs, text in BAD_PAIRS])
def test_bad_input_is_refused(write, args, text):
    with pytest.raises((ValueError, TypeError), match=text):
        write(**args) if isinstance(args, dict) else write(args)


def test_lattice_slabs_are_counted_per_axis():
    text = lattice_in_text(x=[("FX", 0.0, 2.0), ("TH", 8.0, 10.0)], z=[("DP", 5, 0)])
    assert text.splitlines() == ["2", "FX 0.0 2.0", "TH 8.0 10.0", "0", "1", "DP 5.0 0.0"]


def test_pair_records_use_engine_symbols_and_known_keywords(tmp_path):
    text = potfor_in_text([("Fe", "O", "BUCKBW"), ("O_", "O_", "BUCKBW"), ("P", "Fe", "MORSEPT")])
    assert text.splitlines()[2:] == ["3", "Fe O_ BUCKBW", "O_ O_ BUCKBW", "P_ Fe MORSEPT"]
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


def test_engine_reads_a_written_run_configuration(workdir):
    # Settings that change the force call: open x axis, and an indentation run, whose region
    # reaches 100 A further below the box along y.
    write_inputs(workdir.path, pairs=[("Fe", "Fe", "BUCKBW")],
                 **dict(SETTINGS, multipole_flag=1, fe_flag=0, fixatomsoutside=False))
    workdir.ok("""
        assert P.read_pelix_in() == 0
        box = (10.0, 10.0, 10.0)
        # 2.5 A apart only through the periodic image along x, which is open here.
        assert energy("Fe", [0, 0], [0.5, 5.0, 5.0, 8.0, 5.0, 5.0], box) == 0.0
        assert energy("Fe", [0, 0], [0.5, 5.0, 5.0, 3.0, 5.0, 5.0], box) != 0.0
        assert call("Fe", [0, 0], [0.5, -550.0, 5.0, 8.0, 5.0, 5.0], box)[0][3] == 0
        """)
