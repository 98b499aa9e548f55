"""The module as a caller meets it: attributes, argument conversion, checks and messages."""

import numpy as np
import pytest

import PELIXInterface as P


def test_module_attributes_and_doc_strings():
    assert P.__version__ == "$Revision: $"
    lines = P.__doc__.splitlines()
    assert lines[1] == "Functions:" and lines[-1] == "."
    assert lines[2:6] == [
        "  totalenergy,maxforce,maxforceatom,status = calcforce(image,speciestring,specie,pos,"
        "charge,force,kearray,pearray,xdim,ydim,zdim,calcindexes,mainindexes,posdim=len(pos),"
        "natoms=len(specie),nspecies=(len(speciestring))/(2),edim=len(kearray),"
        "ncalc=len(calcindexes),nmain=len(mainindexes))",
        "  get_value(value_name,value,value_name_len=len(value_name))",
        "  set_pbcs(pbcxin,pbcyin,pbczin)",
        "  return_status = read_pelix_in()",
    ]
    assert P.calcforce.__doc__.startswith(
        "totalenergy,maxforce,maxforceatom,status = calcforce(image,speciestring,specie,pos,"
        "charge,force,kearray,pearray,xdim,ydim,zdim,calcindexes,mainindexes,"
        "[posdim,natoms,nspecies,edim,ncalc,nmain])"
    )
    for entry in ("image : input int", "force : in/output rank-1 array('d') with bounds (posdim)",
                  "posdim := len(pos) input int", "totalenergy : float"):
        assert entry in P.calcforce.__doc__
    assert P.read_pelix_in.__doc__.startswith("return_status = read_pelix_in()")
    err = P.error
    assert f"{err.__module__}.{err.__name__}" == "PELIXInterface.error"
    assert issubclass(err, Exception)


def valid_args():
    """Arguments of a well-formed call on three atoms, except for a box that the engine
    refuses: a call that converts cleanly then stops with the box message, before any
    computation or file access."""
    return dict(
        image=-1, speciestring="Fe", specie=np.zeros(3, np.int32), pos=np.zeros(9),
        charge=np.zeros(3), force=np.zeros(9), kearray=np.zeros(3), pearray=np.zeros(3),
        xdim=-1.0, ydim=10.0, zdim=10.0, calcindexes=np.zeros(0, np.int32),
        mainindexes=np.zeros(0, np.int32),
    )


def raised(**changes):
    args = valid_args()
    args.update(changes)
    with pytest.raises(Exception) as info:
        P.calcforce(**args)
    return info.value


def test_clean_conversion_reaches_the_engine_checks():
    # pos, specie and charge given as lists convert; the box check is the first to object.
    e = raised(pos=[0.0] * 9, specie=[0, 0, 0], charge=(0, 0, 0), speciestring=b"Fe")
    assert type(e) is P.error and "box lengths must be finite and positive" in str(e)


SCALAR_MESSAGES = {
    "image": "PELIXInterface.calcforce() 1st argument (image) can't be converted to int",
    "zdim": "PELIXInterface.calcforce() 11st argument (zdim) can't be converted to double",
    "xdim": "PELIXInterface.calcforce() 9th argument (xdim) can't be converted to double",
    "ydim": "PELIXInterface.calcforce() 10th argument (ydim) can't be converted to double",
}


def test_conversion_order_decides_the_message():
    # The documented order: image, zdim, xdim, pos, specie, speciestring, ydim, kearray,
    # mainindexes, calcindexes, then the size keywords, charge, force, pearray.
    order = ["image", "zdim", "xdim", "pos", "specie", "speciestring", "ydim", "kearray",
             "mainindexes", "calcindexes"]
    bad = {"image": "x", "zdim": "x", "xdim": "x", "ydim": "x", "pos": ["x"],
           "specie": [object()], "speciestring": 3.5, "kearray": [0.0],
           "mainindexes": [object()], "calcindexes": [object()]}
    for k, name in enumerate(order):
        e = raised(**{n: bad[n] for n in order[k:]})
        if name in SCALAR_MESSAGES:
            assert str(e) == SCALAR_MESSAGES[name]
        elif name == "kearray":
            assert "input must be array but got list" in str(e)
        elif name == "speciestring":
            assert type(e) is P.error
            assert str(e) == ("failed in converting 2nd argument `speciestring' of "
                              "PELIXInterface.calcforce to C/Fortran array")
        else:
            # NumPy's own conversion error is pending and is kept.
            assert isinstance(e, (TypeError, ValueError)), (name, e)


def test_scalar_conversions():
    assert type(raised(image=None)) is TypeError
    assert str(raised(image=None)) == SCALAR_MESSAGES["image"]
    # Numbers of any kind, numeric strings and one-element sequences convert.
    for image in (np.int64(-1), -1.7, "-1", [-1], complex(-1, 0)):
        e = raised(image=image)
        assert "box lengths" in str(e), image
    assert "box lengths" in str(raised(xdim="-2.5"))


def test_size_keywords_defaults_and_checks():
    e = raised(posdim=10)
    assert type(e) is P.error
    assert str(e) == "(len(pos)>=posdim) failed for 1st keyword posdim: calcforce:posdim=10"
    cases = {
        "natoms": ("(len(specie)>=natoms) failed for 2nd keyword natoms", 4),
        "nspecies": ("((len(speciestring))/(2)>=nspecies) failed for 3rd keyword nspecies", 2),
        "edim": ("(len(kearray)>=edim) failed for 4th keyword edim", 4),
        "ncalc": ("(len(calcindexes)>=ncalc) failed for 5th keyword ncalc", 1),
        "nmain": ("(len(mainindexes)>=nmain) failed for 6th keyword nmain", 1),
    }
    for name, (check, value) in cases.items():
        assert str(raised(**{name: value})) == f"{check}: calcforce:{name}={value}"
    assert str(raised(ncalc="many")) == (
        "PELIXInterface.calcforce() 5th keyword (ncalc) can't be converted to int")
    # An odd-length species string drops its last character: "FeO" holds one species.
    assert "nspecies=2" in str(raised(speciestring="FeO", nspecies=2))
    assert "box lengths" in str(raised(speciestring="FeO", nspecies=1))
    # None means the default.
    assert "box lengths" in str(raised(posdim=None, natoms=None))


def test_in_out_arrays_must_be_exact_arrays():
    e = raised(force=[0.0] * 9)
    assert type(e) is ValueError
    assert str(e) == ("failed to initialize intent(inout|inplace|cache) array -- input must "
                      "be array but got list")
    read_only = np.zeros(9)
    read_only.flags.writeable = False
    tails = {" -- expected elsize=8 but got 4": dict(force=np.zeros(9, np.float32)),
             " -- input 'l' not compatible to 'd'": dict(pearray=np.zeros(3, np.int64)),
             " -- input not contiguous": dict(force=np.zeros(18)[::2]),
             " -- input not writeable": dict(force=read_only)}
    for tail, change in tails.items():
        text = str(raised(**change))
        assert text.startswith("failed to initialize intent(inout|inplace|cache) array -- ")
        assert tail in text
    e = raised(force=np.zeros(6))
    assert type(e) is ValueError
    assert str(e) == "0-th dimension must be fixed to 9 but got 6"
    assert str(raised(charge=np.zeros(1))) == (
        "unexpected array size: new_size=3, got array with arr_size=1")


def test_out_of_range_arguments_are_refused_without_touching_caller_arrays():
    args = valid_args()
    args["xdim"] = 10.0
    args["force"] = np.full(9, 7.0)
    cases = [
        dict(calcindexes=np.array([0, 3], np.int32)),
        dict(calcindexes=np.array([0, 1], np.int32), mainindexes=np.array([-1], np.int32)),
        dict(image=1),
        dict(image=-2),
        dict(specie=np.array([0, 1, 0], np.int32)),
        dict(zdim=float("nan")),
        dict(ydim=0.0),
    ]
    for change in cases:
        call = dict(args, **change)
        with pytest.raises(P.error):
            P.calcforce(**call)
        assert np.all(args["force"] == 7.0)


def test_small_entry_points(capfd, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    assert P.read_pelix_in() == 1
    assert capfd.readouterr().out == ""

    assert P.set_pbcs(1, 0, 1) is None
    P.set_pbcs(pbcxin=0, pbcyin=1, pbczin=0)
    lines = capfd.readouterr().out.splitlines()
    assert lines[1].split() == ["NEW:", "1", "0", "1"]
    assert lines[2].split() == ["CURRENT:", "1", "0", "1"]
    assert lines[3].split() == ["NEW:", "0", "1", "0"]

    # pbcyin is converted first, then pbczin, then pbcxin.
    with pytest.raises(Exception, match=r"2nd argument \(pbcyin\)"):
        P.set_pbcs("a", "b", "c")
    with pytest.raises(Exception, match=r"3rd argument \(pbczin\)"):
        P.set_pbcs("a", 1, "c")

    assert P.get_value("x", 3.0) is None
    P.get_value(np.array(list("energy"), dtype="S1"), 1.0, value_name_len=3)
    P.get_value("abc", 1.0, -1)
    assert [line.strip() for line in capfd.readouterr().out.splitlines()] == [
        "GET VALUE x", "GET VALUE ene", "GET VALUE"]
    with pytest.raises(P.error, match=r"^\(len\(value_name\)>=value_name_len\) failed for 1st "
                       r"keyword value_name_len: get_value:value_name_len=4$"):
        P.get_value("abc", 1.0, 4)
    with pytest.raises(Exception, match=r"2nd argument \(value\) can't be converted to float"):
        P.get_value("abc", "energy")
    with pytest.raises(TypeError):
        P.read_pelix_in(1)
