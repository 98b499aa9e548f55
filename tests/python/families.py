"""The built families as rows: what a force call needs to use one (species, "potfor.IN" pairs,
table files) and the radii where its pair function changes form.

The table families read functions sampled from analytic forms given here, so that their
results can be compared with those forms rather than with the spline itself.
"""

from __future__ import annotations

import itertools
import math
from dataclasses import dataclass, field
from pathlib import Path
from typing import Callable

import numpy as np

from pelix.inputs import nickel_files


def write_table(path, x0: float, x1: float, n: int, columns) -> None:
    """A table file of n records "x c1 c2 ..." at x = x0 .. x1 evenly spaced, count first,
    with the columns that columns(x) returns; its folder is made when missing."""
    path = Path(path)
    path.parent.mkdir(parents=True, exist_ok=True)
    xs = [x0 + (x1 - x0) * k / (n - 1) for k in range(n)]
    records = [" ".join(repr(float(v)) for v in (x, *columns(x))) for x in xs]
    path.write_text("\n".join([str(n)] + records) + "\n")


def morse(depth: float, rate: float, r0: float, r: float) -> tuple[float, float]:
    """Morse pair energy and its derivative dV/dr."""
    e = math.exp(-rate * (r - r0))
    return depth * (e * e - 2 * e), -2 * depth * rate * (e * e - e)


# "MORLIST": Morse depth, rate, r0, first and last table distance per pair of species indices.
MORLIST_MORSE = {(0, 0): (0.2, 1.4, 3.3, 1.5, 5.0), (0, 1): (0.8, 1.7, 2.3, 1.2, 4.0)}
MORLIST_FILES = {(0, 0): "POTFOR-SPLINES/PP_pw_for_potfor_morlist.IN",
                 (0, 1): "POTFOR-SPLINES/PFe_pw_for_potfor_morlist.IN"}

ACKLIST_TABLE = "POTFOR-SPLINES/FeFe_pw_for_potfor_acklist.IN"


# "TERNARY": Morse pairs per pair of element indices (Fe, Ni, Cr), densities a exp(-b r) and
# embeddings -s sqrt(1 + rho^2) per element.
TERNARY_SYMBOLS = ("Fe", "Ni", "Cr")
TERNARY_MORSE = {(0, 0): (0.4, 1.5, 2.5), (1, 1): (0.5, 1.6, 2.4), (2, 2): (0.3, 1.4, 2.6),
                 (0, 1): (0.45, 1.55, 2.45), (0, 2): (0.35, 1.45, 2.55), (1, 2): (0.42, 1.5, 2.5)}
TERNARY_RHO = ((1.0, 1.1), (1.5, 1.3), (0.8, 0.9))
TERNARY_EMBED = (1.0, 1.2, 0.9)


def ternary_rho(e: int, r: float) -> tuple[float, float]:
    a, b = TERNARY_RHO[e]
    return a * math.exp(-b * r), -b * a * math.exp(-b * r)


def ternary_embed(e: int, p: float) -> tuple[float, float]:
    s = TERNARY_EMBED[e]
    return -s * math.sqrt(1 + p * p), -s * p / math.sqrt(1 + p * p)


def write_morlist_tables(directory: Path, n: int = 2000) -> None:
    for pair, (depth, rate, r0, first, last) in MORLIST_MORSE.items():
        write_table(directory / MORLIST_FILES[pair], first, last, n,
                    lambda r, m=(depth, rate, r0): (morse(*m, r)[0], -morse(*m, r)[1]))


def write_acklist_table(directory: Path, n: int = 261) -> None:
    """The "ACKLIST" pair term, energy and force, to 3.6 A."""
    write_table(directory / ACKLIST_TABLE, 1.0, 3.6, n,
                lambda r: (2 * math.exp(-0.6 * r) - math.exp(-0.3 * r),
                           1.2 * math.exp(-0.6 * r) - 0.3 * math.exp(-0.3 * r)))


def write_ternary_tables(directory: Path, n: int = 2000) -> None:
    for (a, b), m in TERNARY_MORSE.items():
        name = f"p{TERNARY_SYMBOLS[a]}{TERNARY_SYMBOLS[b]}.IN"
        write_table(directory / name, 1.0, 5.5, n, lambda r, m=m: (morse(*m, r)[0],))
    for e, symbol in enumerate(TERNARY_SYMBOLS):
        write_table(directory / f"rho{symbol}.IN", 1.0, 5.5, n,
                    lambda r, e=e: (ternary_rho(e, r)[0],))
        write_table(directory / f"F_{symbol}.IN", 0.0, 20.0, n,
                    lambda p, e=e: (ternary_embed(e, p)[0],))


# "ACKNIAL": Ni-Al and Al-Al terms for its file, the 1987 nickel knots scaled to other lattice
# parameters (an illustration of the file, not a fitted potential); edges per pair of indices.
ACKNIAL_NI = ((1.225, 0.75186318729971), (1.202, -1.1730913765605), (1.1, 0.89574543336783),
              (0.9, -2.0153442425426), (0.82, 2.9960367649199))
ACKNIAL_DENSITY = ((1.225, 0.65731945854361), (0.93, -2.1482338643309))
ACKNIAL_SCALE = {(0, 0): 3.52422, (0, 1): 3.8, (1, 1): 4.05}


def write_acknial_file(directory: Path) -> None:
    lines = []
    for (a, b), scale in list(ACKNIAL_SCALE.items())[1:]:
        names = [("Ni", "Al")[k] for k in (a, b)]
        lines.append(f"pair {names[0]} {names[1]}")
        lines += [f"{x * scale!r} {0.6 * c!r}" for x, c in ACKNIAL_NI]
        for centre, neighbour in {(names[0], names[1]), (names[1], names[0])}:
            lines.append(f"density {centre} {neighbour}")
            lines += [f"{x * scale!r}, {c!r}" for x, c in ACKNIAL_DENSITY]
    (Path(directory) / "acknial.IN").write_text("\n".join(lines + ["embedding Al 1e-3 0"]) + "\n")


def write_nickel_files(directory: Path) -> None:
    for name, text in nickel_files().items():
        (Path(directory) / name).write_text(text)


# "BPUPOTL": one record of each kind in "buck.IN" (illustrative constants, not a fitted set).
BUCK_IN = """born Si O  18003.7572 0.205205 0.1 133.5381 5.0  6.0 0.5  1.40 1.70
buck O O   9547.96 0.21916 32.0  6.0 0.5  1.54 1.84
zbl Si Si  2.0 0.5  0.1  0.2 0.3 0.4 0.1  0.2 0.4 0.9 3.0
"""


def write_buck_in(directory: Path) -> None:
    (Path(directory) / "buck.IN").write_text(BUCK_IN)


def file_family(keyword, symbols, text, joins, cation=(), others=(), **kw):
    """A keyword of the ionic path reading `text` from "<keyword>.IN" (illustrative rows)."""
    edges = ionic_edges(joins, cation) | dict(others)
    pairs = [(a, b, keyword if (i, j) in edges else "ZERO")
             for i, a in enumerate(symbols) for j, b in enumerate(symbols) if i <= j]
    write = lambda directory: (Path(directory) / f"{keyword}.IN").write_text(text)  # noqa: E731
    return Family(keyword, "".join(symbols), pairs, edges,
                  closest=0.35, box=14.0, atoms=10, tables=write, **kw)


def ionic_edges(joins: dict, cation: tuple = ()):
    """Edges of the ionic rows: the bridge ends (joins per pair) and the taper 5.5-6.5 A; the
    repulsion-only pairs `cation` taper from 1.5 to 2.5 A."""
    edges = {key: [(r1, True), (r2, True), (5.5, True), (6.5, True)]
             for key, (r1, r2) in joins.items()}
    return edges | {key: [(1.5, True), (2.5, True)] for key in cation}


def write_hefepot_in(directory: Path) -> None:
    """The illustrative "HeFePOT.IN" of docs/families/HeFePOT.md (not a fitted set)."""
    (Path(directory) / "HeFePOT.IN").write_text(
        "pair 0.6 1.6\n3.6 0.08\n3.0 0.6\n2.4 1.8\nradial 1.0 3.2\nangular 0.2 -0.15 0.35 0.1\n")


def every_pair(symbols, keyword):
    return [(a, b, keyword) for a, b in itertools.combinations_with_replacement(symbols, 2)]


@dataclass
class Family:
    """One family as the tests use it.

    `edges` maps an unordered pair of species indices to the radii where the pair function
    changes form: (radius, continuous). A radius marked not continuous is a step of the
    family as defined (a ZBL join that does not meet its bridge, a table that ends above
    zero). `closest` is the smallest separation of the sample configurations, `box` the side
    of their cubic box and `periodic` whether the family can be used in a periodic box for
    several calls of one process. `atoms` fill sites come on top of one planted pair per
    region of every pair type.
    """

    keyword: str
    species: str
    pairs: list
    edges: dict
    closest: float
    box: float
    atoms: int
    tables: Callable[[Path], None] | None = None
    periodic: bool = True
    # Separations to keep out of: (lo, hi) bands, and per pair the radius below which the
    # force is by definition not minus the energy gradient.
    avoid: tuple = ()
    not_gradient_below: dict = field(default_factory=dict)
    symbols: tuple = field(init=False)

    def __post_init__(self):
        self.symbols = tuple(self.species[k:k + 2] for k in range(0, len(self.species), 2))

    def write_inputs(self, directory: Path) -> None:
        if self.tables:
            self.tables(directory)


def _buckbw_edges():
    # r1 (end of the screened repulsion), r2 (end of the polynomial), R - D and R + D (the
    # taper); per pair of indices of Fe, Ti, Y, O.
    radii = {(0, 0): (0.97, 1.8, 3.35, 0.55), (1, 1): (1.53, 2.48, 4.5, 0.65),
             (2, 2): (1.8, 3.0, 4.85, 0.8), (0, 2): (1.5, 2.25, 4.85, 0.6),
             (0, 1): (1.37, 2.3, 3.95, 0.6), (1, 2): (1.92, 2.8, 5.25, 0.7),
             (0, 3): (0.75, 1.35, 3.5, 0.4), (1, 3): (0.6, 1.3, 3.5, 0.5),
             (2, 3): (0.85, 1.65, 3.5, 0.5), (3, 3): (1.2, 1.75, 3.5, 0.75)}
    return {key: [(r1, False), (r2, False), (big_r - d, True), (big_r + d, True)]
            for key, (r1, r2, big_r, d) in radii.items()}


FAMILIES = [
    Family("BUCKBW", "FeTiY_O_", every_pair(("Fe", "Ti", "Y_", "O_"), "BUCKBW"),
           _buckbw_edges(), closest=0.5, box=16.0, atoms=10,
           # The shifted screened repulsion carries its shift in the force on purpose.
           not_gradient_below={(2, 2): 1.8, (0, 2): 1.5, (1, 3): 0.6, (2, 3): 0.85}),
    Family("MORSEPT", "P_Fe",
           [("P_", "P_", "MORSEPT"), ("P_", "Fe", "MORSEPT"), ("Fe", "Fe", "ZERO")],
           {(0, 0): [(0.9, False), (1.85, True), (3.35, True), (4.69, True)],
            (0, 1): [(1.0, False), (2.1, False), (2.22, True), (3.108, True)]},
           closest=0.6, box=11.0, atoms=8),
    Family("ZBLPOTL", "FeC_O_",
           [("Fe", "C_", "ZBLPOTL"), ("O_", "C_", "ZBLPOTL"), ("Fe", "O_", "ZBLPOTL"),
            ("Fe", "Fe", "ZERO"), ("C_", "C_", "ZERO"), ("O_", "O_", "ZERO")],
           {(0, 1): [(3.3795, True), (3.59, True)], (1, 2): [(3.0, True), (4.0, True)],
            (0, 2): [(3.0, True), (4.0, True)]},
           closest=1.1, box=9.5, atoms=8),
    Family("MORLIST", "P_Fe",
           [("P_", "P_", "MORLIST"), ("P_", "Fe", "MORLIST"), ("Fe", "Fe", "ZERO")],
           {(0, 0): [(5.0, False)], (0, 1): [(4.0, False)]},
           closest=1.7, box=11.0, atoms=8, tables=write_morlist_tables),
    Family("ACKLAND", "FeAgAu",
           [(a, b, "ACKLAND" if a == b else "ZERO")
            for a, b in itertools.combinations_with_replacement(("Fe", "Ag", "Au"), 2)],
           {(0, 0): [(1.0, False), (2.0, True), (5.3, True)],
            (1, 1): [(0.9, False), (2.0, True), (5.3, True)],
            (2, 2): [(0.9, False), (2.0, True), (5.3, True)]},
           closest=0.7, box=12.0, atoms=8),
    Family("MENDEL", "Fe", [("Fe", "Fe", "MENDEL")],
           {(0, 0): [(1.0, False), (2.0, True), (5.3, True)]}, closest=0.7, box=12.0, atoms=8),
    Family("AMtest", "Fe", [("Fe", "Fe", "AMtest")],
           {(0, 0): [(1.0, False), (2.05, True), (5.3, True)]}, closest=0.7, box=12.0, atoms=8),
    Family("ACKLEAM", "P_Fe", every_pair(("P_", "Fe"), "ACKLEAM"),
           {(0, 0): [(0.9, False), (2.5, True), (5.3, True)],
            (0, 1): [(1.0, False), (2.0, True), (5.3, True)],
            (1, 1): [(1.0, False), (2.05, True), (5.3, True)]}, closest=0.7, box=12.0, atoms=8),
    Family("ACKNIAL", "NiAl", every_pair(("Ni", "Al"), "ACKNIAL"),
           {key: [(0.61, True), (2.0, True), (1.225 * scale, True)]
            for key, scale in ACKNIAL_SCALE.items()},
           closest=0.55, box=12.0, atoms=8, tables=write_acknial_file),
    Family("GIOVANI", "FeNiCr", every_pair(TERNARY_SYMBOLS, "GIOVANI"),
           {key: [(zbl, True), (2.0, True), (4.0 if key == (0, 0) else 5.6, True)]
            for key, zbl in {(0, 0): 0.9, (1, 1): 0.6, (2, 2): 0.5, (0, 1): 0.8, (0, 2): 0.8,
                             (1, 2): 0.8}.items()},
           closest=0.45, box=12.0, atoms=8, tables=write_nickel_files),
    Family("TERNARY", "FeNiCr", every_pair(TERNARY_SYMBOLS, "TERNARY"),
           {key: [(5.18, False)] for key in TERNARY_MORSE},
           closest=1.9, box=11.0, atoms=8, tables=write_ternary_tables),
    Family("MGOPOTL", "MgO_", every_pair(("Mg", "O_"), "MGOPOTL"),
           ionic_edges({(0, 1): (0.4, 0.7), (1, 1): (1.54, 1.84)}, cation=((0, 0),)),
           closest=0.35, box=14.0, atoms=10),
    Family("TiOFCPT", "TiO_", every_pair(("Ti", "O_"), "TiOFCPT"),
           ionic_edges({(0, 0): (0.41, 0.71), (0, 1): (1.2, 1.5), (1, 1): (1.99, 2.29)}),
           closest=0.35, box=14.0, atoms=10),
    Family("BPUPOTL", "SiO_", every_pair(("Si", "O_"), "BPUPOTL"),
           ionic_edges({(0, 1): (1.4, 1.7), (1, 1): (1.54, 1.84)}, cation=((0, 0),)),
           closest=0.35, box=14.0, atoms=10, tables=write_buck_in),
    file_family("SPINELP", ("Mg", "Al", "O_"), "buck Al O 1725.0 0.28971 0.0 6.0 0.5 0.40 0.70\n",
                {(0, 2): (0.4, 0.7), (1, 2): (0.4, 0.7), (2, 2): (1.54, 1.84)},
                cation=((0, 0), (0, 1), (1, 1))),
    file_family("EROPOTL", ("Er", "O_"), "zbl Er Er 2.0 0.5\nbuck Er O 1300 0.35 0 6.0 0.5 1.09 1.39\n"
                "buck O O 9547.96 0.21916 32.0 6.0 0.5 1.54 1.84\n",
                {(0, 1): (1.09, 1.39), (1, 1): (1.54, 1.84)}, cation=((0, 0),)),
    *[file_family(keyword, ("Si", "O_"), BUCK_IN, {(0, 1): (1.4, 1.7), (1, 1): (1.54, 1.84)},
                  cation=((0, 0),)) for keyword in ("BSIPOTL", "DELAYE_POTL")],
    file_family("UNTITLE", ("Fe", "Y_", "O_"), "zbl Fe Y 3.5 0.5 0.1 0.2 0.3 0.4 0.1 0.2 0.4 0.9 3\n"
                "zbl Fe O 3.0 0.5 0.12 0.3 0.3 0.3 0.1 0.2 0.5 1 2\n", {},
                others={(0, 1): [(3.0, True), (4.0, True)], (0, 2): [(2.5, True), (3.5, True)]}),
    file_family("FeOPOTL", ("Fe", "O_"), "buck Fe O 29698.0 0.20246 182.87 3.5 0.4 0.75 1.35 0.0 "
                "3469.799 -12272.182 18121.859 -13741.085 5287.9223 -820.12171\n", {},
                others={(0, 1): [(0.75, False), (1.35, False), (3.1, True), (3.9, True)]}),
    Family("FEIGAO", "FeHe", [("Fe", "He", "FEIGAO"), ("Fe", "Fe", "ZERO"), ("He", "He", "ZERO")],
           {(0, 1): [(0.1, True), (0.3, True), (3.9028, True), (4.10, False)]},
           closest=0.07, box=10.0, atoms=8),
    Family("HeFePOT", "FeHe", [("He", "Fe", "HeFePOT"), ("Fe", "Fe", "ZERO"), ("He", "He", "ZERO")],
           {(0, 1): [(0.6, True), (1.6, True), (3.2, True), (3.6, True)]},
           closest=0.45, box=11.0, atoms=8, tables=write_hefepot_in),
    Family("AzizHe2", "He", [("He", "He", "AzizHe2")],
           {(0, 0): [(0.14, True), (0.44, True), (5.0, True), (6.0, True)]},
           closest=0.1, box=13.0, atoms=12),
    Family("HeHePOT", "He", [("He", "He", "HeHePOT")],
           {(0, 0): [(0.12, True), (0.42, True), (3.3, True), (3.8, True)]},
           closest=0.1, box=9.0, atoms=12),
    Family("ACKLIST", "Fe", [("Fe", "Fe", "ACKLIST")], {(0, 0): [(3.6, False)]},
           closest=1.9, box=16.0, atoms=8, tables=write_acklist_table,
           # The cut-off radius grows by 2.8665 at every call of a process: from the second
           # call on it passes the periodic images, and bonds from 3.72 to 4.21 A come and go.
           periodic=False, avoid=((3.72, 4.21),)),
]


def sample(family: Family, seed: int, periodic: bool):
    """A configuration (species, flat positions) in the family's cubic box: one planted pair
    in every region of every pair type, then fill atoms; atoms are placed one group at a
    time, each kept only when no pair it makes is closer than `closest`, within 2e-3 A of an
    edge of its type, in an avoided band, or where the force is not meant to be the
    gradient. Open boxes keep 0.5 A from their faces."""
    rng = np.random.default_rng(seed)
    box = np.full(3, family.box)
    groups = []
    for key, edges in family.edges.items():
        radii = [family.closest] + [r for r, _ in edges]
        floor = family.not_gradient_below.get(key, 0.0)
        for lo, hi in zip(radii, radii[1:]):
            lo = max(lo, floor)
            if hi - lo > 0.01:
                groups.append((key, lo + 0.005, hi - 0.005))
    groups += [((k % len(family.symbols),), 0.0, 0.0) for k in range(family.atoms)]
    margin = 0.0 if periodic else 0.5
    specie, pos = [], np.empty((0, 3))
    for kinds, lo, hi in groups:
        while True:
            first = rng.uniform(margin, box - margin)
            u = rng.normal(size=3)
            trial = [first, first + rng.uniform(lo, hi) * u / np.linalg.norm(u)][:len(kinds)]
            trial = np.mod(trial, box) if periodic else np.array(trial)
            if fits(family, specie, pos, list(kinds), trial, periodic):
                specie += list(kinds)
                pos = np.vstack([pos, trial])
                break
    return specie, pos.ravel().tolist()


def fits(family: Family, specie, pos, kinds, trial, periodic) -> bool:
    """Whether the atoms `trial` of species `kinds` may join the placed ones."""
    box = np.full(3, family.box)
    if not periodic and (trial.min() < 0.5 or trial.max() > family.box - 0.5):
        return False
    all_specie, all_pos = specie + kinds, np.vstack([pos, trial])
    n_old = len(specie)
    for j in range(n_old, len(all_specie)):
        d = all_pos[:j] - all_pos[j]
        if periodic:
            d -= box * np.round(d / box)
        for i, rij in enumerate(np.linalg.norm(d, axis=1)):
            key = tuple(sorted((all_specie[i], all_specie[j])))
            if rij < family.closest or rij < family.not_gradient_below.get(key, 0.0):
                return False
            if any(abs(rij - edge) < 2e-3 for edge, _ in family.edges.get(key, ())):
                return False
            if any(lo - 2e-3 <= rij <= hi + 2e-3 for lo, hi in family.avoid):
                return False
    return True


def family(keyword: str) -> Family:
    return next(f for f in FAMILIES if f.keyword == keyword)
