"""Whole force calls through the module, each in a fresh interpreter."""

from pelix.inputs import lattice_in_text


def test_zero_potential_end_to_end(workdir):
    out = workdir.ok(
        """
        rng = np.random.default_rng(3)
        n = 50
        pos = rng.uniform(0.0, 9.0, 3 * n)
        out = arrays(n)
        out["force"][:] = 5.0
        out["kearray"][:] = 7.0
        out["pearray"][:] = 7.0
        result, out = call("Fe", np.zeros(n), pos, (9.0, 9.0, 9.0), out=out)
        assert result == (0.0, 0.0, -1, 0), result
        assert np.all(out["force"] == 0.0)
        assert np.all(out["kearray"] == 0.0) and np.all(out["pearray"] == 0.0)
        # edim different from natoms leaves the energy arrays alone.
        ke = np.full(n + 1, 7.0)
        pe = np.full(n + 1, 7.0)
        result = P.calcforce(-1, "Fe", np.zeros(n, np.int32), pos, np.zeros(n), out["force"],
                             ke, pe, 9.0, 9.0, 9.0, np.zeros(0, np.int32), np.zeros(0, np.int32))
        assert result[3] == 0 and np.all(ke == 7.0) and np.all(pe == 7.0)
        print("done")
        """
    )
    assert out.strip() == "done"


def test_lost_atoms_leave_the_caller_arrays_alone(workdir):
    out = workdir.ok(
        """
        box = (10.0, 10.0, 10.0)
        # The extended region reaches 510 A beyond every face, lower bound inclusive.
        result, _ = call("Fe", [0, 0], [-510.0, 1.0, 1.0, 2.0, 2.0, 2.0], box)
        assert result[3] == 0, result
        out = arrays(2)
        out["force"][:] = 3.0
        result, out = call("Fe", [0, 0], [1.0, 1.0, 1.0, 520.0, 2.0, 2.0], box, out=out)
        assert result == (0.0, 0.0, -99, 1), result
        assert np.all(out["force"] == 3.0)
        result, out = call("Fe", [0, 0], [1.0, 1.0, 1.0, 2.0, float("nan"), 2.0], box)
        assert result == (0.0, 0.0, -99, 1), result
        """
    )
    lines = [line.split() for line in out.splitlines()]
    assert lines[0][:9] == "ATOMS LOST: THIS IS GOING TO SCREW THINGS UP...".split()
    assert [float(v) for v in lines[0][9:]] == [2.0, 520.0, 2.0, 2.0]
    assert lines[1] == "PELIXInterface: ERROR: some atoms has been lost".split()
    assert lines[2][9] == "2" and lines[2][11].lower() == "nan"


def test_images_and_index_lists(workdir):
    workdir.ok(
        """
        box = (10.0, 10.0, 10.0)
        pos = np.concatenate([np.full(12, 1.0), np.arange(12) * 0.5])
        out = arrays(4, images=2)
        out["force"][:] = np.nan
        result, out = call("Fe", [0, 0, 0, 0], pos, box, image=1, out=out)
        assert result[3] == 0
        assert np.all(np.isnan(out["force"][:12])) and np.all(out["force"][12:] == 0.0)

        # Only the main atoms among the staged ones are returned.
        out = arrays(6)
        out["force"][:] = np.nan
        pos = np.arange(18) * 0.5
        result, out = call("Fe", np.zeros(6), pos, box, calc=[5, 2], main=[2], out=out)
        f = out["force"].reshape(6, 3)
        assert result[3] == 0 and np.all(f[2] == 0.0)
        assert np.all(np.isnan(np.delete(f, 2, axis=0)))
        # Without calcindexes, mainindexes is ignored and every atom is returned.
        result, out = call("Fe", np.zeros(6), pos, box, main=[2], out=out)
        assert np.all(out["force"] == 0.0)

        # Species and charges are taken by staging position, not through calcindexes:
        # a bad species on atom 5 does not matter when atom 5 is staged first ...
        specie = np.array([0, 0, 0, 0, 0, 3], np.int32)
        result, out = call("Fe", specie, pos, box, calc=[5, 2])
        assert result[3] == 0
        # ... but one at staging position 1 does.
        specie = np.array([0, 3, 0, 0, 0, 0], np.int32)
        try:
            call("Fe", specie, pos, box, calc=[5, 2])
            raise AssertionError("species outside the string accepted")
        except P.error as e:
            assert "specie[1]=3" in str(e)
        """
    )


def test_lattice_file_is_read_again_only_when_the_box_changes(workdir):
    workdir.write("lattice.IN", lattice_in_text(x=[("FX", 0.0, 2.0)]))
    done = workdir.run(
        """
        import os
        pos = [1.0, 1.0, 1.0, 5.0, 5.0, 5.0]
        result, _ = call("Fe", [0, 0], pos, (10.0, 10.0, 10.0))
        assert result[3] == 0
        os.remove("lattice.IN")
        result, _ = call("Fe", [0, 0], pos, (10.0, 10.0, 10.0))
        assert result[3] == 0
        print("same box: not read again", flush=True)
        call("Fe", [0, 0], pos, (11.0, 10.0, 10.0))
        print("unreachable")
        """
    )
    assert done.returncode == 2, done.stdout + done.stderr
    assert done.stdout.splitlines()[0] == "same box: not read again"
    assert "lattice.IN" in done.stdout and "unreachable" not in done.stdout


def test_fatal_errors_end_the_process_after_the_callers_output(workdir):
    done = workdir.run(
        """
        print("before the call")
        call("FeXx", [0, 1], [1.0, 1.0, 1.0, 2.0, 2.0, 2.0], (10.0, 10.0, 10.0))
        print("unreachable")
        """
    )
    assert done.returncode == 1
    lines = [line.strip() for line in done.stdout.splitlines()]
    assert lines == ["before the call", "nrerror: ATOMIC_NUMBER: ATMSYMI Xx is unknown",
                     "program terminated by nerror"]


def test_a_call_without_atoms_converts_and_stops_in_the_neighbour_set_up(workdir):
    done = workdir.run(
        """
        empty = np.zeros(0)
        P.calcforce(-1, "Fe", np.zeros(0, np.int32), empty, empty, np.zeros(0), np.zeros(0),
                    np.zeros(0), 10.0, 10.0, 10.0, np.zeros(0, np.int32), np.zeros(0, np.int32))
        """
    )
    assert done.returncode == 1, done.stdout + done.stderr
    assert [line.strip() for line in done.stdout.splitlines()] == [
        "nrerror: SETUP_NEBOUR_PARAMETERS: myLTpnebs == 0?", "program terminated by nerror"]


def test_missing_run_configuration_is_a_clear_input_error(workdir):
    (workdir.path / "pelix.IN").unlink()
    done = workdir.run(
        """
        assert P.read_pelix_in() == 1
        call("Fe", [0], [1.0, 1.0, 1.0], (10.0, 10.0, 10.0))
        """
    )
    assert done.returncode == 2
    assert "pelix.IN" in done.stdout


def test_unknown_keyword_stops_the_set_up(workdir):
    workdir.write("potfor.IN", "t\nc\n1\nFe Fe meam\n")
    done = workdir.run('call("Fe", [0], [1.0, 1.0, 1.0], (10.0, 10.0, 10.0))')
    assert done.returncode == 1
    assert done.stdout.splitlines()[0] == (
        " nrerror: SETUP_INTERACTION_PARAMETERS: POTLST= " + "meam".ljust(12) + " is unknown")
