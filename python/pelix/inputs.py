"""Writers for the engine's input files "pelix.IN", "lattice.IN" and "potfor.IN", and a reader
for the pair records of "potfor.IN".

The writers check every value before a line is written: the engine reads fixed columns and
stops the whole process on a value it cannot use, so a mistake is better caught here, with an
ordinary Python exception that names the setting.
"""

from __future__ import annotations

import math
from collections.abc import Iterable, Mapping
from dataclasses import dataclass
from importlib import resources
from pathlib import Path

import numpy as np

from pelix.tables import potential_keyword, species_symbol


@dataclass(frozen=True)
class _Record:
    """One line of "pelix.IN": setting name, kind of value, default and the label after it."""

    name: str
    kind: str
    default: object
    label: str


# The 34 records of "pelix.IN" in file order. Kinds: "fixed5"/"fixed6" values fill the first
# 5 or 6 columns; "flags" is the line of three periodic flags; "positive" and "nonnegative"
# are finite floats with that sign; "float" any finite float; "logical" a bool; "word13" a
# blank-free word of at most 13 characters; "choice:..." an integer from the listed values.
_RECORDS = (
    _Record("bgorct", "fixed5:BEGIN CNTIN", "BEGIN", "  /* BGORCT => BEGIN or CNTIN (RESUME)"),
    _Record("simustage", "fixed5:EQUIL PRODU", "EQUIL",
            "   /* SIMUSTAGE => EQUIL (EQUILIBRATION) or PRODU (PRODUCTION)"),
    _Record("simutype", "fixed5:COLLI INDEN", "COLLI", "       /* SIMUTYPE : COLLI, INDEN"),
    _Record("ident", "fixed6", "RUN001", "   /* IDENT  => SIX CHARACTER IDENTIFIER OF THIS RUN"),
    _Record("pbc", "flags", (1, 1, 1), "   /* PBCX,PBCY,PBCZ"),
    _Record("pcskin", "nonnegative", 10.0, "   /* PCSKIN => SKIN OF NEB-LIST AS % OF CUTOFF"),
    _Record("dt", "positive", 1.0, "  /* DT     => INTEGTATION TIMESTEP (fS)"),
    _Record("runtim", "nonnegative", 1000.0,
            "   /* RUNTIM => TOTAL RUN TIME (fS) DURING PRODUCTION STAGE"),
    _Record("fe_flag", "choice:0 1", 0, "/* FE_FLAG (SET 1 FOR EMBEDDING CONTINUUM)"),
    _Record("youngs", "nonnegative", 0.0, "/* YOUNGS eV/A^3 (REQUIRED FOR MULTISCALE MODEL)"),
    _Record("poissons", "float", 0.0, "/* POISSONS (REQUIRED FOR MULTISCALE MODEL)"),
    _Record("roe", "nonnegative", 0.0,
            "/* ROE (ATOMIC MASS)/A^3 (REQUIRED FOR MULTISCALE MODEL)"),
    _Record("thermtype", "word13", "NO_THERMOSTAT",
            "  /* THERMTYPE => THERMOSTAT TYPE (NO_THERMOSTAT,NOSE-HOOVER,..)"),
    _Record("ttemp", "nonnegative", 0.0, "    /* TTEMP => LATTICE TEMPERATURE (K)"),
    _Record("ptemp", "nonnegative", 0.0, "   /* PTEMP => PROJECTILE/INDENTER TEMPERATURE (K)"),
    _Record("safevr", "nonnegative", 100.0, "   /* SAFEVR => FAILSAFE FILE EVERY (fs)"),
    _Record("picevr", "nonnegative", 100.0, "   /* PICEVR => PICTURE FILE OUTPUT EVERY (fS)"),
    _Record("ke_vtk", "logical", False, "    /* Include atom Kinetic Energy in PIC file"),
    _Record("pe_vtk", "logical", False, "  /* Include atom Potential Energy in PIC file"),
    _Record("animation_flag", "logical", False, "   /* Animation flag"),
    _Record("animation_frequency", "nonnegative", 10.0, "   /* Update animation input every (fs)"),
    _Record("multipole_flag", "choice:0 1 2", 1,
            "/* Multipole method (ionic potential) 0=dpmta; 1=fmmp"),
    _Record("neb_flag", "logical", False, "NEB flag"),
    _Record("chargesinxyz", "logical", False, "/* charges in xyz files"),
    _Record("velocityinxyz", "logical", False, "/* velocities in xyz files"),
    _Record("zip_flag", "logical", False, "  /* Zip flag (xyz files)"),
    _Record("fixatomsoutside", "logical", False, "/* fix atoms farther than the skin outside"),
    _Record("latticeskin", "nonnegative", 2.0, "/* lattice skin (A)"),
    _Record("chargerecoverysim", "logical", False, "/* charge recovery simulation"),
    _Record("chargerecoveryhalflife", "nonnegative", 0.0, "/* charge recovery half-life"),
    _Record("chargerecoverytimestep", "nonnegative", 0.0, "/* charge recovery time step"),
    _Record("failsafebackupflag", "logical", False, "/* keep a backup of the fail-safe file"),
    _Record("use_pipe", "logical", False, "/* read lattice atoms through a pipe"),
    _Record("minfileoutput", "logical", False, "/* minimal file output"),
)

RUN_SETTINGS = tuple(record.name for record in _RECORDS)
"""Names of the run settings, in the order of the records of "pelix.IN"."""

LATTICE_CODES = ("FX", "DP", "TH", "IM")
"""Slab codes of "lattice.IN": fixed, damped, thermal and the fourth marked type."""


def _finite(name: str, value) -> float:
    if isinstance(value, (bool, str, bytes)) or not hasattr(value, "__float__"):
        raise TypeError(f"{name} must be a number, got {value!r}")
    number = float(value)
    if not math.isfinite(number):
        raise ValueError(f"{name} must be finite, got {value!r}")
    return number


def _integer(name: str, value) -> int:
    if isinstance(value, bool) or not hasattr(value, "__index__"):
        raise TypeError(f"{name} must be an integer, got {value!r}")
    return int(value)


def _word(name: str, value, width: int) -> str:
    if not isinstance(value, str):
        raise TypeError(f"{name} must be a string, got {value!r}")
    if not value or len(value) > width or not value.isprintable() or any(
        c in value for c in " ,/'\""
    ):
        raise ValueError(
            f"{name} must be 1 to {width} printable characters without blanks, commas, "
            f"slashes or quotes, got {value!r}"
        )
    return value


def _record_value(record: _Record, value) -> str:
    """The value of one record as the engine's reader expects it; raises on a bad value."""
    name, kind = record.name, record.kind
    if kind.startswith("fixed5:"):
        allowed = kind.split(":")[1].split()
        if value not in allowed:
            raise ValueError(f"{name} must be one of {', '.join(allowed)}, got {value!r}")
        return value
    if kind == "fixed6":
        return f"{_word(name, value, 6):<6s}"
    if kind == "flags":
        flags = list(value) if isinstance(value, Iterable) and not isinstance(value, str) else []
        if len(flags) != 3:
            raise ValueError(f"{name} needs three periodic flags (x, y, z), got {value!r}")
        flags = [_integer(name, f) for f in flags]
        if any(f not in (0, 1) for f in flags):
            raise ValueError(f"periodic flags are 0 (open) or 1 (periodic), got {value!r}")
        return " ".join(str(f) for f in flags)
    if kind.startswith("choice:"):
        allowed = [int(v) for v in kind.split(":")[1].split()]
        number = _integer(name, value)
        if number not in allowed:
            raise ValueError(f"{name} must be one of {allowed}, got {value!r}")
        return str(number)
    if kind == "logical":
        if not isinstance(value, (bool, np.bool_)):
            raise TypeError(f"{name} must be True or False, got {value!r}")
        return "T" if value else "F"
    if kind == "word13":
        return _word(name, value, 13)
    number = _finite(name, value)
    if kind == "positive" and number <= 0.0:
        raise ValueError(f"{name} must be positive, got {value!r}")
    if kind == "nonnegative" and number < 0.0:
        raise ValueError(f"{name} must not be negative, got {value!r}")
    return repr(number)


def pelix_in_text(**settings) -> str:
    """The 34 records of a run configuration, each value followed by its label.

    Any setting of `RUN_SETTINGS` may be given; the others keep their defaults. The three
    periodic flags are given together as ``pbc=(x, y, z)``.
    """
    unknown = sorted(set(settings) - set(RUN_SETTINGS))
    if unknown:
        raise TypeError(
            f"unknown run setting(s) {', '.join(unknown)}; known: {', '.join(RUN_SETTINGS)}"
        )
    lines = []
    for record in _RECORDS:
        value = _record_value(record, settings.get(record.name, record.default))
        lead = "" if record.kind.startswith("fixed") else " "
        lines.append(f"{lead}{value}  {record.label}")
    return "\n".join(lines) + "\n"


Slab = tuple[str, float, float]


def lattice_in_text(x: Iterable[Slab] = (), y: Iterable[Slab] = (), z: Iterable[Slab] = ()) -> str:
    """Slabs per axis as (code, lo, hi), code one of `LATTICE_CODES`, bounds in A.

    A slab with lo > hi is measured from the far face of the box, as the engine reads it.
    """
    lines = []
    for axis, slabs in (("x", x), ("y", y), ("z", z)):
        slabs = list(slabs)
        lines.append(str(len(slabs)))
        for slab in slabs:
            if len(slab) != 3:
                raise ValueError(f"{axis} slab must be (code, lo, hi), got {slab!r}")
            code, lo, hi = slab
            if code not in LATTICE_CODES:
                raise ValueError(
                    f"{axis} slab code must be one of {', '.join(LATTICE_CODES)}, got {code!r}"
                )
            lo = _finite(f"{axis} slab lower bound", lo)
            hi = _finite(f"{axis} slab upper bound", hi)
            lines.append(f"{code} {lo!r} {hi!r}")
    return "\n".join(lines) + "\n"


def potfor_in_text(pairs: Iterable[tuple[str, str, str]]) -> str:
    """Pair records (symbol, symbol, keyword) after the two title lines the engine skips.

    Symbols are chemical symbols ("O" or "O_" for oxygen) from the element table; keywords
    come from the catalogue and are case-sensitive.
    """
    records = []
    for pair in pairs:
        if len(pair) != 3:
            raise ValueError(f"pair record must be (symbol, symbol, keyword), got {pair!r}")
        a, b, keyword = pair
        records.append(f"{species_symbol(a)} {species_symbol(b)} {potential_keyword(keyword)}")
    if not records:
        raise ValueError("potfor.IN needs at least one pair record")
    lines = ["potential choice per species pair", "symbol symbol keyword", str(len(records))]
    return "\n".join(lines + records) + "\n"


def _lattice_text(lattice: str | Mapping[str, Iterable[Slab]]) -> str:
    if isinstance(lattice, str):
        return lattice
    unknown = set(lattice) - {"x", "y", "z"}
    if unknown:
        raise ValueError(f"lattice slabs are given per axis x, y, z; got {sorted(unknown)}")
    return lattice_in_text(**lattice)


def input_texts(
    pairs: Iterable[tuple[str, str, str]] | None = None,
    lattice: str | Mapping[str, Iterable[Slab]] | None = None,
    run_settings: Mapping[str, object] | None = None,
) -> dict[str, str]:
    """Texts of the files named by the arguments given: "potfor.IN" from `pairs`,
    "lattice.IN" from `lattice` (ready text, or slabs per axis as {"x": [...], ...}) and
    "pelix.IN" from `run_settings`."""
    texts = {}
    if run_settings is not None:
        texts["pelix.IN"] = pelix_in_text(**run_settings)
    if lattice is not None:
        texts["lattice.IN"] = _lattice_text(lattice)
    if pairs is not None:
        pairs = list(pairs)
        texts["potfor.IN"] = potfor_in_text(pairs)
        if any(keyword.strip() == "GIOVANI" for _, _, keyword in pairs):
            texts.update(nickel_files())
    return texts


def nickel_files() -> dict[str, str]:
    """The nickel functions that "GIOVANI" reads ("NiF.IN", "Niphi.IN", "Niv.IN"), as shipped
    with the package."""
    data = resources.files("pelix") / "data"
    return {name: (data / name).read_text() for name in ("NiF.IN", "Niphi.IN", "Niv.IN")}


def write_inputs(
    directory: str | Path,
    pairs: Iterable[tuple[str, str, str]],
    lattice: str | Mapping[str, Iterable[Slab]] | None = None,
    **run_settings,
) -> Path:
    """Writes "pelix.IN", "lattice.IN" and "potfor.IN" into `directory` (made if missing), and
    the nickel files of "GIOVANI" when a pair names it.

    Without `lattice` no atom is fixed or marked; `run_settings` are those of `pelix_in_text`.
    """
    directory = Path(directory)
    texts = input_texts(pairs, lattice if lattice is not None else {}, run_settings)
    directory.mkdir(parents=True, exist_ok=True)
    for name, text in texts.items():
        (directory / name).write_text(text)
    return directory


def box_is_long_enough(lengths: Iterable[float], pbc: Iterable[bool],
                       interaction_range: float) -> bool:
    """Whether a box may be given to the engine as it is: every periodic axis at least the
    interaction range long (the largest cut-off plus the 0.3 A skin, or the Ewald real-space
    cut-off; `Calculator.interaction_range` after a force call, or
    `PELIXInterface.interaction_range()`). A shorter periodic axis misses the images beyond
    the nearest; `pelix.Calculator` then repeats the cell for the engine by itself."""
    return all(not periodic or float(length) >= interaction_range
               for length, periodic in zip(lengths, pbc))


def _list_items(line: str) -> list[str]:
    """Items of one free-format line: separated by blanks or commas, bare or quoted, ended by
    a slash."""
    items, k = [], 0
    while k < len(line):
        c = line[k]
        if c in " \t,":
            k += 1
        elif c == "/":
            break
        elif c in "'\"":
            end = line.find(c, k + 1)
            end = len(line) if end < 0 else end
            items.append(line[k + 1 : end])
            k = end + 1
        else:
            start = k
            while k < len(line) and line[k] not in " \t,/":
                k += 1
            items.append(line[start:k])
    return items


def potfor_in_records(text: str, source: str = "potfor.IN") -> list[tuple[str, str, str]]:
    """The pair records of a "potfor.IN" text as the engine takes them: symbols padded or cut
    to two characters, keywords cut to twelve and without trailing blanks. Raises ValueError
    when the count line or a record is missing or malformed; `source` names the file."""
    lines = text.splitlines()
    if len(lines) < 3 or not _list_items(lines[2]):
        raise ValueError(f"{source}: the third line must hold the number of pair records")
    try:
        count = int(_list_items(lines[2])[0])
    except ValueError:
        raise ValueError(f"{source}: the third line must hold the number of pair records, "
                         f"found {lines[2]!r}") from None
    records = []
    for number in range(4, 4 + max(count, 0)):
        items = _list_items(lines[number - 1]) if number <= len(lines) else []
        if len(items) < 3:
            raise ValueError(f"{source}: line {number} must hold symbol, symbol and keyword "
                             f"({count} records announced)")
        a, b, keyword = items[:3]
        records.append((f"{a:<2.2s}", f"{b:<2.2s}", keyword[:12].rstrip()))
    return records


def read_potfor_in(path: str | Path) -> list[tuple[str, str, str]]:
    """The pair records of the file at `path`, as `potfor_in_records` gives them."""
    path = Path(path)
    return potfor_in_records(path.read_text(), str(path))
