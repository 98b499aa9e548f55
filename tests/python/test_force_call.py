"""Whole force calls through the module, each test in a fresh interpreter: results written to
the caller's arrays, lost atoms, images and index lists, and the stops that end the process."""

import pytest

from pelix.inputs import lattice_in_text, pelix_in_text

BOX = "(10.0, 10.0, 10.0)"


def test_zero_potential_clears_the_results_and_edim_keeps_the_energy_arrays(workdir):
    workdir.ok(
        """
        n, pos = 50, np.random.default_rng(3).uniform(0.0, 9.0, 150)
        out = {name: np.full(len(a), 7.0) for name, a in arrays(n).items()}
        result, out = call("Fe", np.zeros(n), pos, (9.0, 9.0, 9.0), out=out)
        assert result == (0.0, 0.0, -1, 0) and not any(a.any() for a in out.values()), out
        # edim other than natoms leaves the energy arrays alone.
        out = dict(force=np.ones(3 * n), kearray=np.full(n + 1, 7.0), pearray=np.full(n + 1, 7.0))
        result, out = call("Fe", np.zeros(n), pos, (9.0, 9.0, 9.0), out=out)
        assert result[3] == 0 and not out["force"].any(), result
        assert np.all(out["kearray"] == 7.0) and np.all(out["pearray"] == 7.0)
        """
    )


def test_lost_atoms_are_reported_and_leave_the_caller_arrays_alone(workdir):
    out = workdir.ok(
        f"""
        # The accepted region reaches 510 A beyond every face, its lower bound included.
        assert call("Fe", [0, 0], [-510.0, 1.0, 1.0, 2.0, 2.0, 2.0], {BOX})[0][3] == 0
        for far in ([1.0, 1.0, 1.0, 520.0, 2.0, 2.0], [1.0, 1.0, 1.0, 2.0, np.nan, 2.0]):
            out = {{name: np.full(len(a), 3.0) for name, a in arrays(2).items()}}
            result, out = call("Fe", [0, 0], far, {BOX}, out=out)
            assert result == (0.0, 0.0, -99, 1) and all((a == 3.0).all() for a in out.values()), out
        """
    )
    lines = [line.split() for line in out.splitlines()]
    assert lines[0][:9] == "ATOMS LOST: THIS IS GOING TO SCREW THINGS UP...".split()
    assert [float(v) for v in lines[0][9:]] == [2.0, 520.0, 2.0, 2.0]
    assert lines[1] == "PELIXInterface: ERROR: some atoms has been lost".split()
    assert lines[2][9] == "2" and lines[2][11].lower() == "nan" and len(lines) == 4


def test_images_and_index_lists(workdir):
    workdir.ok(
        f"""
        def nan_out(natoms, images=1):
            return {{name: np.full(len(a), np.nan) for name, a in arrays(natoms, images).items()}}

        # Image 1 of four atoms: only the second block of forces is written.
        pos = np.concatenate([np.full(12, 1.0), np.arange(12) * 0.5])
        result, out = call("Fe", [0] * 4, pos, {BOX}, image=1, out=nan_out(4, 2))
        assert result[3] == 0 and np.isnan(out["force"][:12]).all() and not out["force"][12:].any()

        # Without calcindexes mainindexes is ignored. (That only the main atoms among the staged
        # ones are returned is checked with the driver in the C++ registry tests.)
        pos = np.arange(18) * 0.5
        result, out = call("Fe", [0] * 6, pos, {BOX}, main=[2], out=nan_out(6))
        assert result[3] == 0 and not out["force"].any()

        # Species are taken by staging position, not through calcindexes.
        assert call("Fe", [0, 0, 0, 0, 0, 3], pos, {BOX}, calc=[5, 2])[0][3] == 0
        """
    )


TWO = f'call("Fe", [0, 0], [1.0, 1.0, 1.0, 2.0, 2.0, 2.0], {BOX})'
NRERROR = "program terminated by nerror"
RUN = pelix_in_text(pbc=(0, 0, 0), multipole_flag=1).splitlines(keepends=True)
NEGATIVE_MULTIPOLE = "".join(RUN[:21] + [" -1" + RUN[21][2:]] + RUN[22:])

# Files written over the defaults, the calls, and the exit status and the whole stdout of a
# process that one of the engine's stops ends. The caller's own output comes first.
STOPS = {
    "unknown element": ({}, 'print("before the call")\n'
                        f'call("FeXx", [0, 1], [1.0, 1.0, 1.0, 2.0, 2.0, 2.0], {BOX})', 1,
                        ["before the call", "nrerror: ATOMIC_NUMBER: ATMSYMI Xx is unknown",
                         NRERROR]),
    "negative multipole flag": ({"pelix.IN": NEGATIVE_MULTIPOLE},
                                TWO[:-1] + ", charge=np.array([1.0, -1.0]))", 1,
                                ["MULTIPOLE FLAG SHOULD BE SET TO 0 (DPMTA) or 1 (FMMP)"]),
    "no run configuration": ({"pelix.IN": None}, "assert P.read_pelix_in() == 1\n" + TWO, 2,
                             ["pelix.IN: file not found"]),
    # "lattice.IN" is read again only when the box changes.
    "lattice.IN gone": ({"lattice.IN": lattice_in_text(x=[("FX", 0.0, 2.0)])},
                        f"{TWO}\nimport os\nos.remove('lattice.IN')\n{TWO}\n"
                        "print('same box', flush=True)\n" + TWO.replace("(10.0,", "(11.0,"), 2,
                        ["same box", "lattice.IN: file not found"]),
}


@pytest.mark.parametrize("case", STOPS)
def test_stops_end_the_process_with_their_message_and_status(workdir, case):
    files, code, status, lines = STOPS[case]
    for name, text in files.items():
        (workdir.path / name).unlink() if text is None else workdir.write(name, text)
    done = workdir.run(code + "\nprint('unreachable')")
    got = (done.returncode, [line.strip() for line in done.stdout.splitlines()])
    assert got == (status, lines), done.stdout + done.stderr
