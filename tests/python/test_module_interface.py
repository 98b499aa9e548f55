"""The module as a caller meets it: doc strings, argument conversion, checks and messages.
Every call here is refused before the engine reads a file, so they share this process."""

import re

import numpy as np
import pytest

import PELIXInterface as P

PREFIX = "PELIXInterface.calcforce() "
INOUT = "failed to initialize intent(inout|inplace|cache) array"


def test_doc_strings_and_error_type():
    assert P.__version__ == "$Revision: $"
    lines = P.__doc__.splitlines()
    assert lines[1:6] + lines[-1:] == ["Functions:",
        "  totalenergy,maxforce,maxforceatom,status = calcforce(image,speciestring,specie,pos,"
        "charge,force,kearray,pearray,xdim,ydim,zdim,calcindexes,mainindexes,posdim=len(pos),"
        "natoms=len(specie),nspecies=(len(speciestring))/(2),edim=len(kearray),"
        "ncalc=len(calcindexes),nmain=len(mainindexes))",
        "  get_value(value_name,value,value_name_len=len(value_name))",
        "  set_pbcs(pbcxin,pbcyin,pbczin)", "  return_status = read_pelix_in()", "."]
    assert f"{P.error.__module__}.{P.error.__name__}" == "PELIXInterface.error"


def raised(**changes):
    """The exception of a call on three Fe atoms with `changes`; unchanged, the call passes
    every check, so each case must be refused before the engine reads its files."""
    args = dict(image=-1, speciestring="Fe", specie=np.zeros(3, np.int32), pos=np.zeros(9),
                charge=np.zeros(3), force=np.full(9, 7.0), kearray=np.zeros(3),
                pearray=np.full(3, 7.0), xdim=10.0, ydim=10.0, zdim=10.0,
                calcindexes=np.zeros(0, np.int32), mainindexes=np.zeros(0, np.int32)) | changes
    with pytest.raises(Exception) as info:
        P.calcforce(**args)
    # A refused call leaves the caller's output arrays alone.
    assert np.all(np.asarray(args["force"]) == 7.0) and np.all(args["pearray"] == 7)
    return info.value


@pytest.mark.parametrize("change", [
    dict(xdim=0.0), dict(ydim=-10.0), dict(zdim=np.nan), dict(xdim=np.inf), dict(zdim=-np.inf),
    # Lists, tuples, bytes, numeric strings, one-element sequences and None for a size.
    *({"xdim": -1.0, **c} for c in [
        dict(pos=[0.0] * 9, specie=[0, 0, 0], charge=(0, 0, 0), speciestring=b"Fe"),
        dict(image=np.int64(-1)), dict(image=-1.7), dict(image="-1"), dict(image=[-1]),
        dict(image=complex(-1, 0)), dict(xdim="-2.5"), dict(posdim=None, natoms=None),
        dict(speciestring="FeO", nspecies=1)]),
])
def test_accepted_forms_reach_the_box_check_which_reports_each_length(change):
    e = raised(**change)
    found = re.fullmatch(r"calcforce: box lengths must be finite and positive, got "
                         r"xdim=\s*(\S+) ydim=\s*(\S+) zdim=\s*(\S+)", str(e))
    assert type(e) is P.error and found, e
    np.testing.assert_array_equal([float(v) for v in found.groups()],
                                  [float(change.get(k, 10.0)) for k in ("xdim", "ydim", "zdim")])


# An in/output array's refusal, the module's own refusal, and an index array.
inout = lambda reason: (ValueError, INOUT + " -- " + reason)  # noqa: E731
own = lambda text: (P.error, "calcforce: " + text)  # noqa: E731
ints = lambda *values: np.array(values, np.int32)  # noqa: E731


# The conversion order, with a value each argument cannot take: the first argument that fails
# decides the message. NumPy's own error is kept for the array arguments; its type stands for
# it here.
ORDER = [("image", "x", PREFIX + "1st argument (image) can't be converted to int"),
         ("zdim", "x", PREFIX + "11st argument (zdim) can't be converted to double"),
         ("xdim", "x", PREFIX + "9th argument (xdim) can't be converted to double"),
         ("pos", ["x"], ValueError), ("specie", [object()], TypeError),
         ("speciestring", 3.5, "failed in converting 2nd argument `speciestring' of "
                               "PELIXInterface.calcforce to C/Fortran array"),
         ("ydim", "x", PREFIX + "10th argument (ydim) can't be converted to double"),
         ("kearray", [0.0], INOUT + " -- input must be array but got list"),
         ("mainindexes", [object()], TypeError), ("calcindexes", [object()], TypeError)]
# Each size keyword: the length it defaults to, its place, and a value above that length. An
# odd-length species string drops its last character: "FeO" holds one species.
SIZE_KEYWORDS = [("posdim", "len(pos)", "1st", 10), ("natoms", "len(specie)", "2nd", 4),
                 ("nspecies", "(len(speciestring))/(2)", "3rd", 2), ("edim", "len(kearray)",
                 "4th", 4), ("ncalc", "len(calcindexes)", "5th", 1),
                 ("nmain", "len(mainindexes)", "6th", 1)]


@pytest.mark.parametrize("change, error, text", [
    *(({name: bad for name, bad, _ in ORDER[k:]}, *((None, want) if isinstance(want, str)
                                                    else (want, None)))
      for k, (_, _, want) in enumerate(ORDER)),
    *(({name: value, "speciestring": "FeO"}, None,
       f"({length}>={name}) failed for {place} keyword {name}: calcforce:{name}={value}")
      for name, length, place, value in SIZE_KEYWORDS),
    (dict(image=None), TypeError, PREFIX + "1st argument (image) can't be converted to int"),
    (dict(ncalc="many"), None, PREFIX + "5th keyword (ncalc) can't be converted to int"),
    # Beyond 32 bits is refused, not wrapped (2**32 + 3 would pass as 3).
    (dict(natoms=2**32 + 3), OverflowError,
     PREFIX + "2nd keyword (natoms) can't be converted to int"),
    (dict(force=[7.0] * 9), *inout("input must be array but got list")),
    (dict(force=np.full(9, 7.0, np.float32)), *inout("expected elsize=8 but got 4")),
    (dict(pearray=np.full(3, 7, np.int64)), *inout("input 'l' not compatible to 'd'")),
    (dict(force=np.full(18, 7.0)[::2]), *inout("input not contiguous")),
    (dict(force=np.frombuffer(bytearray(b"\0" + np.full(9, 7.0).tobytes()), offset=1)),
     *inout("input not 8-aligned")),
    (dict(force=np.full(9, 7.0, ">f8")), *inout("input not in native byte order")),
    (dict(force=np.frombuffer(np.full(9, 7.0).tobytes())), *inout("input not writeable")),
    (dict(force=np.full(6, 7.0)), ValueError, "0-th dimension must be fixed to 9 but got 6"),
    (dict(charge=np.zeros(1)), None, "unexpected array size: new_size=3, got array with "
     "arr_size=1"),
    (dict(calcindexes=ints(0, 3)), *own("calcindexes[1]=3 is outside 0..2")),
    (dict(calcindexes=ints(0, 1), mainindexes=ints(-1)), *own("mainindexes[0]=-1 is outside 0..2")),
    (dict(calcindexes=ints(0, 1, 2, 0), specie=ints(0, 0, 0, 0), natoms=3),
     *own("ncalc=4 staging positions but specie and charge hold 3 entries")),
    (dict(image=1), *own("image 1 of atom 0 needs elements 9..11 of pos and force, which hold 9")),
    (dict(image=-2), *own("image must be -1 or at least 0, got image=-2")),
    (dict(specie=ints(0, 1, 0)), *own("specie[1]=1 is outside 0..0 (species in speciestring)")),
    (dict(charge=np.array([0.0, 0.0, np.nan])), *own("charge[2]=nan is not a finite number")),
])
def test_refused_calls_and_their_messages(change, error, text):
    e = raised(**change)
    assert error is None or type(e) is error, e
    assert text is None or str(e) == text


def test_small_entry_points(capfd, tmp_path, monkeypatch):
    def refused(error, match, function, *args):
        with pytest.raises(error, match=match):
            function(*args)

    monkeypatch.chdir(tmp_path)
    assert P.read_pelix_in() == 1  # no "pelix.IN" here
    assert capfd.readouterr().out == ""
    refused(TypeError, None, P.read_pelix_in, 1)

    assert P.set_pbcs(1, 0, 1) is None
    P.set_pbcs(pbcxin=0, pbcyin=1, pbczin=0)
    lines = [line.split() for line in capfd.readouterr().out.splitlines()]
    assert lines[1:4] == [["NEW:", "1", "0", "1"], ["CURRENT:", "1", "0", "1"],
                          ["NEW:", "0", "1", "0"]]
    # pbcyin is converted first, then pbczin, then pbcxin.
    refused(Exception, r"2nd argument \(pbcyin\)", P.set_pbcs, "a", "b", "c")
    refused(Exception, r"3rd argument \(pbczin\)", P.set_pbcs, "a", 1, "c")

    assert P.get_value("x", 3.0) is None
    P.get_value(np.array(list("energy"), dtype="S1"), 1.0, value_name_len=3)
    P.get_value("abc", 1.0, -1)
    assert [line.strip() for line in capfd.readouterr().out.splitlines()] == [
        "GET VALUE x", "GET VALUE ene", "GET VALUE"]
    refused(P.error, r"^\(len\(value_name\)>=value_name_len\) failed for 1st keyword "
            r"value_name_len: get_value:value_name_len=4$", P.get_value, "abc", 1.0, 4)
    refused(Exception, r"2nd argument \(value\) can't be converted to float", P.get_value, "abc",
            "energy")
