"""Writers for the engine's input files: "pelix.IN", "lattice.IN" and "potfor.IN"."""

from __future__ import annotations

from pathlib import Path
from typing import Iterable, Sequence


def _logical(value: bool) -> str:
    return "T" if value else "F"


def pelix_in_text(
    pbc: Sequence[int] = (1, 1, 1),
    multipole_flag: int = 1,
    simutype: str = "COLLI",
    ident: str = "RUN001",
    dt: float = 1.0,
    fixatomsoutside: bool = False,
    latticeskin: float = 2.0,
) -> str:
    """The 34 records of a run configuration, each value followed by its label."""
    if len(pbc) != 3:
        raise ValueError("pbc needs three periodic flags")
    if len(simutype) != 5 or len(ident) > 6:
        raise ValueError("simutype has 5 characters and ident at most 6")
    records = [
        "BEGIN  /* BGORCT => BEGIN or CNTIN (RESUME)",
        "EQUIL  /* SIMUSTAGE => EQUIL (EQUILIBRATION) or PRODU (PRODUCTION)",
        f"{simutype}  /* SIMUTYPE : COLLI, INDEN",
        f"{ident:<6s}  /* IDENT  => SIX CHARACTER IDENTIFIER OF THIS RUN",
        f" {int(pbc[0])} {int(pbc[1])} {int(pbc[2])}   /* PBCX,PBCY,PBCZ",
        " 10.0   /* PCSKIN => SKIN OF NEB-LIST AS % OF CUTOFF",
        f" {dt!r}   /* DT     => INTEGTATION TIMESTEP (fS)",
        " 1000.0   /* RUNTIM => TOTAL RUN TIME (fS) DURING PRODUCTION STAGE",
        " 0   /* FE_FLAG (SET 1 FOR EMBEDDING CONTINUUM)",
        " 0.0   /* YOUNGS eV/A^3 (REQUIRED FOR MULTISCALE MODEL)",
        " 0.0   /* POISSONS (REQUIRED FOR MULTISCALE MODEL)",
        " 0.0   /* ROE (ATOMIC MASS)/A^3 (REQUIRED FOR MULTISCALE MODEL)",
        " NO_THERMOSTAT  /* THERMTYPE => THERMOSTAT TYPE (NO_THERMOSTAT,NOSE-HOOVER,..)",
        " 0.0   /* TTEMP => LATTICE TEMPERATURE (K)",
        " 0.0   /* PTEMP => PROJECTILE/INDENTER TEMPERATURE (K)",
        " 100.0   /* SAFEVR => FAILSAFE FILE EVERY (fs)",
        " 100.0   /* PICEVR => PICTURE FILE OUTPUT EVERY (fS)",
        " F   /* Include atom Kinetic Energy in PIC file",
        " F   /* Include atom Potential Energy in PIC file",
        " F   /* Animation flag",
        " 10.0   /* Update animation input every (fs)",
        f" {int(multipole_flag)}   /* Multipole method (ionic potential) 0=dpmta; 1=fmmp",
        " F   NEB flag",
        " F   charges in xyz files",
        " F   velocities in xyz files",
        " F   /* Zip flag (xyz files)",
        f" {_logical(fixatomsoutside)}   fix atoms outside the box",
        f" {latticeskin!r}   lattice skin (A)",
        " F   charge recovery simulation",
        " 0.0   charge recovery half-life",
        " 0.0   charge recovery time step",
        " F   keep a backup of the fail-safe file",
        " F   read lattice atoms through a pipe",
        " F   minimal file output",
    ]
    return "\n".join(records) + "\n"


def lattice_in_text(
    x: Iterable[tuple[str, float, float]] = (),
    y: Iterable[tuple[str, float, float]] = (),
    z: Iterable[tuple[str, float, float]] = (),
) -> str:
    """Slabs per axis as (code, lo, hi) with code "FX", "DP", "TH" or "IM"."""
    lines = []
    for slabs in (list(x), list(y), list(z)):
        lines.append(str(len(slabs)))
        lines.extend(f"{code} {lo!r} {hi!r}" for code, lo, hi in slabs)
    return "\n".join(lines) + "\n"


def potfor_in_text(pairs: Iterable[tuple[str, str, str]]) -> str:
    """Pair records (symbol, symbol, keyword) after the two ignored title lines."""
    pairs = list(pairs)
    lines = ["potential choice per species pair", "symbol symbol keyword", str(len(pairs))]
    lines.extend(f"{a} {b} {keyword}" for a, b, keyword in pairs)
    return "\n".join(lines) + "\n"


def write_inputs(
    directory: str | Path,
    pairs: Iterable[tuple[str, str, str]],
    lattice: str | None = None,
    **run_settings,
) -> Path:
    """Writes "pelix.IN", "lattice.IN" and "potfor.IN" into `directory`."""
    directory = Path(directory)
    directory.mkdir(parents=True, exist_ok=True)
    (directory / "pelix.IN").write_text(pelix_in_text(**run_settings))
    (directory / "lattice.IN").write_text(lattice if lattice is not None else lattice_in_text())
    (directory / "potfor.IN").write_text(potfor_in_text(pairs))
    return directory
