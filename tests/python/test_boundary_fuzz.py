"""Random arguments at the module boundary: every call either raises one of the documented
exception types, ends in one of the engine's specified stops, or succeeds with the result of
the same call made with plain arrays. A caller's array is never written when the call fails.

The examples run in a fresh interpreter (the engine keeps process-wide state), and each call is
made in a forked child of it, so that a crash, a sanitizer report or a stop ends only that child
and is judged by the parent from its exit status and output."""

import json
import subprocess
import sys
import textwrap

FUZZ_PREAMBLE = '''
import json, os, signal, sys, tempfile, traceback
import numpy as np
import PELIXInterface as P
from hypothesis import HealthCheck, given, settings, strategies as st

SETTINGS = settings(deadline=None, database=None, print_blob=True,
                    suppress_health_check=list(HealthCheck))

# The stops that well-formed input files still leave to the arguments: no atom to stage,
# periodic flags none of which is 0 or 1, the neighbour list's capacities, and a box too
# long to be cut into cells.
STOPS = ("nrerror: SETUP_NEBOUR_PARAMETERS: myLTpnebs == 0?",
         "nrerror: SETUP_NEBOUR_PARAMETERS: WRONG VALUE FOR PBC",
         "nrerror: NEBOUR_LIST: MNEB > MXYZ", "nrerror: NEBOUR_LIST: LSTPNT > NLSTMX",
         "SIZE_CELL_GRID: ")
# A sequence given for a scalar is read through its first item, whose error is kept.
ERRORS = (P.error, TypeError, ValueError, OverflowError, IndexError)
CHILD_SECONDS = 30


def in_child(check, *args):
    """Runs check(*args) in a forked child; returns its exit status and everything it wrote."""
    with tempfile.TemporaryFile() as out:
        sys.stdout.flush()
        pid = os.fork()
        if pid == 0:
            code = 0
            signal.alarm(CHILD_SECONDS)  # a call that hangs is a fault as well
            try:
                os.dup2(out.fileno(), 1)
                os.dup2(out.fileno(), 2)
                check(*args)
            except BaseException:
                traceback.print_exc()
                code = 3
            sys.stdout.flush()
            sys.stderr.flush()
            os._exit(code)
        _, status = os.waitpid(pid, 0)
        out.seek(0)
        return os.waitstatus_to_exitcode(status), out.read().decode(errors="replace")


OUTCOMES = {}


def judge(check, *args):
    """Runs a check in a child and counts how the call ended: the last line a check prints
    names the outcome; a child that ends otherwise must have met one of the stops."""
    code, text = in_child(check, *args)
    lines = text.splitlines()
    if code == 0:
        outcome = lines[-1] if lines else "?"
    else:
        stopped = code in (1, 2) and any(line.strip().startswith(STOPS) for line in lines)
        assert stopped, f"child ended with status {code}:\\n{text}"
        outcome = "stop"
    OUTCOMES[outcome] = OUTCOMES.get(outcome, 0) + 1


def snapshot(args):
    """Bytes, dtype and shape of every NumPy array among the arguments."""
    return {k: (v.tobytes(), v.dtype.str, v.shape) for k, v in args.items()
            if isinstance(v, np.ndarray)}


# Huge, negative and boundary integers and numbers that are no integers at all.
odd_ints = st.sampled_from([-1, 0, 1, 2, -2, 2**31 - 1, -2**31, 2**31, -2**31 - 1, 2**63,
                            2**100, -2**100])
junk = st.sampled_from([None, "x", b"", 1.5, float("nan"), float("inf"), complex(1, 2),
                        [], [[1, 2], [3, 4]], {"a": 1}, object(), np.zeros((2, 3)),
                        np.array(["a", "b"]), np.array([object(), 1])])


@st.composite
def array_form(draw, values, dtype):
    """`values` as the caller might pass them: exact arrays, other types and byte orders,
    other shapes of one long axis, strided or read-only arrays, lists and tuples."""
    values = np.asarray(values, dtype=dtype)
    kind = draw(st.sampled_from(["exact", "exact", "list", "tuple", "cast", "swapped", "row",
                                 "column", "strided", "read_only", "unaligned"]))
    if kind == "list":
        return values.tolist()
    if kind == "tuple":
        return tuple(values.tolist())
    if kind == "cast":
        other = draw(st.sampled_from([np.float32, np.float64, np.int8, np.int32, np.int64,
                                      np.uint32, np.complex128, np.bool_]))
        with np.errstate(all="ignore"):
            return values.astype(other)
    if kind == "swapped":
        return values.astype(values.dtype.newbyteorder())
    if kind == "row":
        return values.reshape(1, -1).copy()
    if kind == "column":
        return values.reshape(-1, 1).copy()
    if kind == "strided":
        wide = np.zeros(2 * len(values), dtype=values.dtype)
        wide[::2] = values
        return wide[::2]
    if kind == "read_only":
        values = values.copy()
        values.flags.writeable = False
        return values
    if kind == "unaligned":
        raw = np.zeros(values.nbytes + 1, np.uint8)
        view = raw[1:].view(values.dtype)
        view[:] = values
        return view
    return values.copy()


def with_length(draw, values, dtype):
    """Usually `values`, sometimes one element short or long, empty or of a single element."""
    change = draw(st.sampled_from(["same"] * 6 + ["short", "long", "empty", "single"]))
    values = list(values)
    if change == "short":
        values = values[:-1]
    elif change == "long":
        values = values + values[:1] + [0]
    elif change == "empty":
        values = []
    elif change == "single":
        values = values[:1] or [0]
    return np.asarray(values, dtype=dtype)


'''

CALCFORCE_FUZZ = '''
REQUIRED = ["image", "speciestring", "specie", "pos", "charge", "force", "kearray", "pearray",
            "xdim", "ydim", "zdim", "calcindexes", "mainindexes"]
SIZES = ["posdim", "natoms", "nspecies", "edim", "ncalc", "nmain"]
IN_OUT = ("force", "kearray", "pearray")
box_lengths = st.sampled_from([10.0, 10.0, 10.0, 7.5, "10", [10.0], np.float32(9.0), 0.5,
                               1e-3, 1e300])
bad_box_lengths = st.sampled_from([0.0, -10.0, float("nan"), float("inf"), -float("inf"),
                                   None, "x"])
species_strings = st.sampled_from(["Fe", "Fe", b"Fe", bytearray(b"Fe"), "FeO", "FeFe",
                                   np.array(list("Fe"), dtype="S1"), np.array(b"Fe")])
bad_species_strings = st.sampled_from(["", np.array(["Fe"]), 3.5, None, ["F", "e"],
                                       np.zeros(2)])


@st.composite
def calcforce_arguments(draw):
    """Arguments of one call: every argument in one of its valid forms, except for a few
    (often none) that are given a wrong value, length, type or form."""
    broken = draw(st.one_of(st.just(set()),
                            st.sets(st.sampled_from(REQUIRED + SIZES), min_size=1, max_size=2)))
    n = draw(st.integers(0, 4))
    floats = st.floats(-2.0, 12.0, allow_nan=False)
    pos = draw(st.lists(floats, min_size=3 * n, max_size=3 * n))
    charge = [0.0] * n
    if "pos" in broken and n:  # some coordinate not finite
        pos[draw(st.integers(0, 3 * n - 1))] = draw(st.sampled_from([np.nan, np.inf, -np.inf]))
    if "charge" in broken and n:
        charge[draw(st.integers(0, n - 1))] = draw(st.sampled_from([np.nan, np.inf, 0.5]))

    def array(name, values, dtype, bad=junk):
        values = np.asarray(values, dtype=dtype)
        if name not in broken:
            return draw(array_form(values, dtype))
        return draw(st.one_of(array_form(with_length(draw, values, dtype), dtype), bad))

    def indexes(name):
        if name not in broken:
            return np.zeros(0, np.int32)
        values = np.asarray(draw(st.lists(st.integers(-2, n + 1), max_size=n + 1)), np.int32)
        return draw(st.one_of(array_form(values, np.int32), junk))

    def out_array(name, length):
        # Filled with a sentinel, so that a write on an error path shows.
        base = np.full(length, 7.0)
        if name not in broken:
            return base
        return draw(st.one_of(array_form(with_length(draw, base, np.float64), np.float64), junk))

    def scalar(name, valid, bad):
        return draw(bad if name in broken else valid)

    args = {
        "image": scalar("image", st.sampled_from([-1, 0]), st.one_of(odd_ints, junk)),
        "speciestring": scalar("speciestring", species_strings, bad_species_strings),
        "specie": array("specie", [0] * n, np.int32,
                        st.one_of(st.lists(st.integers(-3, 3)), junk)),
        "pos": array("pos", pos, np.float64),
        "charge": array("charge", charge, np.float64),
        "force": out_array("force", 3 * n),
        "kearray": out_array("kearray", n),
        "pearray": out_array("pearray", n),
        "xdim": scalar("xdim", box_lengths, bad_box_lengths),
        "ydim": scalar("ydim", box_lengths, bad_box_lengths),
        "zdim": scalar("zdim", box_lengths, bad_box_lengths),
        "calcindexes": indexes("calcindexes"),
        "mainindexes": indexes("mainindexes"),
    }
    for key in broken.intersection(SIZES):
        args[key] = draw(st.one_of(st.integers(-1, 13), odd_ints, junk))
    return args


def plain(value, dtype):
    return np.array(value, dtype=dtype).reshape(-1)


def check_calcforce(args):
    before = snapshot(args)
    start = {k: np.array(args[k], copy=True) for k in IN_OUT if isinstance(args[k], np.ndarray)}
    try:
        result = P.calcforce(**args)
    except ERRORS as e:
        assert str(e), type(e)
        after = snapshot(args)
        changed = [k for k in before if before[k] != after[k]]
        assert not changed, f"{changed} written by a call that raised {e!r}"
        print(type(e).__name__)
        return
    totalenergy, maxforce, maxforceatom, status = result
    assert [type(v) for v in result] == [float, float, int, int], result
    after = snapshot(args)
    changed = [k for k in before if before[k] != after[k] and k not in IN_OUT]
    assert not changed, f"input arrays {changed} written"
    # The same call with plain contiguous arrays of the converted values gives the same.
    again = dict(args)
    for key, dtype in (("specie", np.int32), ("pos", np.float64), ("charge", np.float64),
                       ("calcindexes", np.int32), ("mainindexes", np.int32)):
        again[key] = plain(args[key], dtype)
    for key in IN_OUT:
        again[key] = start[key].copy()
    assert repr(P.calcforce(**again)) == repr(result)
    for key in IN_OUT:
        assert again[key].tobytes() == args[key].tobytes(), key
    print("result")


@SETTINGS
@given(calcforce_arguments())
def fuzz_calcforce(args):
    judge(check_calcforce, args)


fuzz_calcforce()
print(json.dumps(OUTCOMES))
'''

SMALL_ENTRY_POINTS_FUZZ = '''
names = st.sampled_from(["", "x", "energy", b"abc", bytearray(b"ab"),
                         np.array(list("energy"), dtype="S1"), np.array(b"en"),
                         np.array(list("energy"), dtype="S1")[::2], 3, None, ["a"]])


def check_get_value(name, value, length):
    before = snapshot({"name": name})
    try:
        if length is None:
            assert P.get_value(name, value) is None
        else:
            assert P.get_value(name, value, value_name_len=length) is None
    except ERRORS as e:
        assert str(e)
        print(type(e).__name__)
        return
    assert snapshot({"name": name}) == before
    print("result")


def check_set_pbcs_then_call(flags):
    # Any integer flags are stored; a call afterwards still works on the stored flags.
    P.read_pelix_in()
    try:
        P.set_pbcs(*flags)
    except ERRORS as e:
        assert str(e)
        print(type(e).__name__)
        return
    force, ke, pe = np.zeros(6), np.zeros(2), np.zeros(2)
    result = P.calcforce(-1, "Fe", np.zeros(2, np.int32), np.array([1.0, 1, 1, 3, 3, 3]),
                         np.zeros(2), force, ke, pe, 10.0, 10.0, 10.0,
                         np.zeros(0, np.int32), np.zeros(0, np.int32))
    assert result[3] in (0, 1), result
    print("result")


@SETTINGS
@given(names, st.one_of(st.floats(), st.sampled_from(["1.5", "x", None, [2.0]])),
       st.one_of(st.none(), st.integers(-3, 8), odd_ints, junk))
def fuzz_get_value(name, value, length):
    judge(check_get_value, name, value, length)


@SETTINGS
@given(st.lists(st.one_of(st.integers(-3, 3), odd_ints, junk), min_size=3, max_size=3))
def fuzz_set_pbcs(flags):
    judge(check_set_pbcs_then_call, flags)


fuzz_get_value()
get_value_outcomes = dict(OUTCOMES)
OUTCOMES.clear()
fuzz_set_pbcs()
print(json.dumps([get_value_outcomes, OUTCOMES]))
'''


def run_fuzz(workdir, body, examples):
    """Runs the examples in a fresh interpreter in the test's directory; returns its output."""
    settings = f"\nSETTINGS = settings(SETTINGS, max_examples={examples})\n"
    script = textwrap.dedent(FUZZ_PREAMBLE) + settings + textwrap.dedent(body)
    done = subprocess.run([sys.executable, "-c", script], cwd=workdir.path, capture_output=True,
                          text=True, timeout=900)
    assert done.returncode == 0, done.stdout[-4000:] + done.stderr[-8000:]
    return done.stdout


def test_calcforce_with_random_arguments(workdir):
    outcomes = json.loads(run_fuzz(workdir, CALCFORCE_FUZZ, 300).splitlines()[-1])
    # Both the refusals and the completed calls were reached.
    assert outcomes.get("result", 0) >= 30 and outcomes.get("error", 0) >= 10, outcomes
    assert outcomes.get("TypeError", 0) + outcomes.get("ValueError", 0) >= 10, outcomes


def test_small_entry_points_with_random_arguments(workdir):
    get_value, set_pbcs = json.loads(run_fuzz(workdir, SMALL_ENTRY_POINTS_FUZZ, 80).splitlines()[-1])
    assert get_value.get("result", 0) >= 10 and get_value.get("error", 0) >= 5, get_value
    assert set_pbcs.get("result", 0) >= 5 and set_pbcs.get("stop", 0) >= 1, set_pbcs
