"""Random arguments to calcforce: every call raises one of the documented exception types
without writing a caller's array, ends in one of the engine's stops, or gives the result of
the same call with plain arrays. Each call is made in a forked child of a fresh interpreter,
so that a crash, a sanitizer report or a stop ends only that child."""

import json
import subprocess
import sys

FUZZ = r'''
import json, os, signal, sys, tempfile, traceback
import numpy as np
import PELIXInterface as P
from hypothesis import HealthCheck, given, settings, strategies as st

# Derandomized: the same examples at every run, so that the counts asserted below are stable.
SETTINGS = settings(deadline=None, database=None, print_blob=True, derandomize=True,
                    suppress_health_check=list(HealthCheck), max_examples=int(sys.argv[1]))
# The stops that well-formed input files still leave to the arguments: no atom to stage,
# the neighbour list's capacities, and a box too long to be cut into cells.
STOPS = ("nrerror: SETUP_NEBOUR_PARAMETERS: myLTpnebs == 0?", "nrerror: NEBOUR_LIST: MNEB > MXYZ",
         "nrerror: NEBOUR_LIST: LSTPNT > NLSTMX", "SIZE_CELL_GRID: ")
# A sequence given for a scalar is read through its first item, whose error is kept.
ERRORS = (P.error, TypeError, ValueError, OverflowError, IndexError)
OUTCOMES = {}


def judge(check, *args):
    """Runs check(*args) in a forked child and counts how it ended: the last line a check
    prints names the outcome; a child that ends otherwise must have met one of the stops."""
    with tempfile.TemporaryFile() as out:
        sys.stdout.flush()
        if (pid := os.fork()) == 0:
            code = 0
            signal.alarm(30)  # a call that hangs is a fault as well
            try:
                for stream in (1, 2):
                    os.dup2(out.fileno(), stream)
                check(*args)
            except BaseException:
                traceback.print_exc()
                code = 3
            sys.stdout.flush(), sys.stderr.flush()
            os._exit(code)
        code = os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1])
        out.seek(0)
        text = out.read().decode(errors="replace")
    lines = text.splitlines()
    stopped = code in (1, 2) and any(line.strip().startswith(STOPS) for line in lines)
    assert code == 0 or stopped, f"child ended with status {code}:\n{text}"
    outcome = "stop" if code else lines[-1] if lines else "?"
    OUTCOMES[outcome] = OUTCOMES.get(outcome, 0) + 1


def snapshot(args):
    return {k: (v.tobytes(), v.dtype.str, v.shape) for k, v in args.items()
            if isinstance(v, np.ndarray)}


# Huge, negative and boundary integers and numbers that are no integers at all.
odd_ints = st.sampled_from([-1, 0, 1, 2, -2, 2**31 - 1, -2**31, 2**31, -2**31 - 1, 2**63,
                            2**100, -2**100])
junk = st.sampled_from([None, "x", b"", 1.5, float("nan"), float("inf"), complex(1, 2),
                        [], [[1, 2], [3, 4]], {"a": 1}, object(), np.zeros((2, 3)),
                        np.array(["a", "b"]), np.array([object(), 1])])


# Values as the caller might pass them: other types and byte orders, other shapes of one long
# axis, strided, read-only or unaligned arrays, lists and tuples.
FORMS = {"exact": np.copy, "list": lambda v: v.tolist(), "tuple": lambda v: tuple(v.tolist()),
         "swapped": lambda v: v.astype(v.dtype.newbyteorder()),
         "row": lambda v: v.reshape(1, -1).copy(), "column": lambda v: v.reshape(-1, 1).copy(),
         "strided": lambda v: np.repeat(v, 2)[::2],
         "read_only": lambda v: np.frombuffer(v.tobytes(), v.dtype),
         "unaligned": lambda v: np.frombuffer(bytearray(b"\0" + v.tobytes()), v.dtype, offset=1)}
CASTS = [np.float32, np.float64, np.int8, np.int32, np.int64, np.uint32, np.complex128, np.bool_]


@st.composite
def array_form(draw, values, dtype, resize=False):
    """`values` in one of FORMS or cast; with resize, sometimes one element short or long,
    empty or of a single element."""
    values = list(values)
    change = draw(st.sampled_from(["same"] * 6 + ["short", "long", "empty", "single"])
                  if resize else st.just("same"))
    values = {"same": values, "short": values[:-1], "long": values + values[:1] + [0],
              "empty": [], "single": values[:1] or [0]}[change]
    values = np.asarray(values, dtype=dtype)
    kind = draw(st.sampled_from(["exact", "cast", *FORMS]))
    if kind == "cast":
        with np.errstate(all="ignore"):
            return values.astype(draw(st.sampled_from(CASTS)))
    return FORMS[kind](values)


REQUIRED = ["image", "speciestring", "specie", "pos", "charge", "force", "kearray", "pearray",
            "xdim", "ydim", "zdim", "calcindexes", "mainindexes"]
SIZES = ["posdim", "natoms", "nspecies", "edim", "ncalc", "nmain"]
IN_OUT = ("force", "kearray", "pearray")
GOOD_SCALARS = {
    "image": st.sampled_from([-1, 0]),
    "speciestring": st.sampled_from(["Fe", "Fe", b"Fe", bytearray(b"Fe"), "FeO", "FeFe",
                                     np.array(list("Fe"), dtype="S1"), np.array(b"Fe")]),
    "box": st.sampled_from([10.0, 10.0, 7.5, "10", [10.0], np.float32(9.0), 0.5, 1e-3, 1e300])}
BAD_SCALARS = {
    "image": st.one_of(odd_ints, junk),
    "speciestring": st.sampled_from(["", np.array(["Fe"]), 3.5, None, ["F", "e"], np.zeros(2)]),
    "box": st.sampled_from([0.0, -10.0, float("nan"), float("inf"), -float("inf"), None, "x"])}


@st.composite
def calcforce_arguments(draw):
    """Every argument in one of its valid forms, except for a few (often none) that are given
    a wrong value, length, type or form."""
    broken = draw(st.one_of(st.just(set()),
                            st.sets(st.sampled_from(REQUIRED + SIZES), min_size=1, max_size=2)))
    n = draw(st.integers(0, 4))
    pos = draw(st.lists(st.floats(-2.0, 12.0), min_size=3 * n, max_size=3 * n))
    charge = [0.0] * n
    if "pos" in broken and n:  # some coordinate not finite
        pos[draw(st.integers(0, 3 * n - 1))] = draw(st.sampled_from([np.nan, np.inf, -np.inf]))
    if "charge" in broken and n:
        charge[draw(st.integers(0, n - 1))] = draw(st.sampled_from([np.nan, np.inf, 0.5]))
    # Output arrays are filled with a sentinel, so that a write on an error path shows.
    seven = [7.0] * n
    values = dict(specie=([0] * n, np.int32), pos=(pos, float), charge=(charge, float),
                  force=(seven * 3, float), kearray=(seven, float), pearray=(seven, float))
    args = {}
    for name, (v, dtype) in values.items():
        extra = [st.lists(st.integers(-3, 3))] if name == "specie" else []
        args[name] = (draw(st.one_of(array_form(v, dtype, resize=True), junk, *extra))
                      if name in broken else np.array(v, dtype) if name in IN_OUT
                      else draw(array_form(v, dtype)))
    for name in ("calcindexes", "mainindexes"):
        indexes = st.lists(st.integers(-2, n + 1), max_size=n + 1)
        args[name] = (draw(st.one_of(indexes.flatmap(lambda v: array_form(v, np.int32)), junk))
                      if name in broken else np.zeros(0, np.int32))
    for name in ("image", "speciestring", "xdim", "ydim", "zdim"):
        key = "box" if name.endswith("dim") else name
        args[name] = draw((BAD_SCALARS if name in broken else GOOD_SCALARS)[key])
    for name in broken.intersection(SIZES):
        args[name] = draw(st.one_of(st.integers(-1, 13), odd_ints, junk))
    return args


def check_calcforce(args):
    before = snapshot(args)
    start = {k: np.array(args[k], copy=True) for k in IN_OUT if isinstance(args[k], np.ndarray)}
    try:
        result = P.calcforce(**args)
    except ERRORS as e:
        assert str(e) and snapshot(args) == before, f"arrays written by a call that raised {e!r}"
        return print(type(e).__name__)
    assert [type(v) for v in result] == [float, float, int, int], result
    changed = [k for k, v in snapshot(args).items() if v != before[k] and k not in IN_OUT]
    assert not changed, f"input arrays {changed} written"
    # The same call with plain contiguous arrays of the converted values gives the same.
    again = dict(args, **{k: start[k].copy() for k in IN_OUT})
    for key, dtype in (("specie", np.int32), ("pos", float), ("charge", float),
                       ("calcindexes", np.int32), ("mainindexes", np.int32)):
        again[key] = np.array(args[key], dtype=dtype).reshape(-1)
    assert repr(P.calcforce(**again)) == repr(result)
    assert [k for k in IN_OUT if again[k].tobytes() != args[k].tobytes()] == []
    print("result")


SETTINGS(given(calcforce_arguments())(lambda args: judge(check_calcforce, args)))()
print(json.dumps(OUTCOMES))
'''


def test_module_entry_points_with_random_arguments(workdir):
    done = subprocess.run([sys.executable, "-c", FUZZ, "150"], cwd=workdir.path,
                          capture_output=True, text=True, timeout=900)
    assert done.returncode == 0, done.stdout[-4000:] + done.stderr[-8000:]
    outcomes = json.loads(done.stdout.splitlines()[-1])
    # The refusals, the stops and the completed calls were all reached.
    assert outcomes.get("result", 0) >= 15 and outcomes.get("error", 0) >= 10, outcomes
    assert outcomes.get("TypeError", 0) + outcomes.get("ValueError", 0) >= 8, outcomes
    assert outcomes.get("stop", 0) >= 5, outcomes
