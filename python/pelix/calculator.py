"""An ASE calculator on top of the engine's force call.

The engine keeps its state per process and reads its input files from the current working
directory: "pelix.IN" once, "potfor.IN" once, "lattice.IN" whenever the box changes. The
calculator therefore binds the process to one directory, changes into it only for the
duration of each force call, and refuses a second calculator that would need other files.
"""

from __future__ import annotations

import math
import os
import threading
from collections.abc import Iterable, Mapping
from pathlib import Path

import numpy as np
from ase.calculators.calculator import Calculator as AseCalculator
from ase.calculators.calculator import all_changes

from pelix.inputs import input_texts, potfor_in_records, read_potfor_in
from pelix.tables import potential_keyword, species_symbol

# Half-width of the margin around the box inside which the engine accepts atoms (A), and the
# extra room below the box along y in an indentation run.
_LOST_ATOM_MARGIN = 510.0
_INDENTATION_FLOOR = -100.0


class EngineInUseError(RuntimeError):
    """A second calculator would need input files other than those the engine has taken."""


class LostAtomError(RuntimeError):
    """An atom lies outside the region the engine accepts; the force call was not done."""


class _EngineSession:
    """What this process has told the engine: the directory whose files it reads, whether
    "pelix.IN" has been loaded, the periodic flags last set, and the pair records of
    "potfor.IN" (read once, like the engine does)."""

    def __init__(self) -> None:
        self.directory: Path | None = None
        self.config_loaded = False
        self.pbc: tuple[int, int, int] | None = None
        self.pair_records: list[tuple[str, str, str]] | None = None
        self.simutype = ""
        self.lock = threading.Lock()

    def bind(self, directory: Path, texts: Mapping[str, str]) -> None:
        """Takes `directory` for this process, or checks that it is the one already taken and
        that `texts` would not change its files."""
        if self.directory is not None and self.directory != directory:
            raise EngineInUseError(
                f"the engine of this process already reads its input files from "
                f"{self.directory}; it keeps one run configuration and one set of pair "
                f"keywords per process (\"pelix.IN\" and \"potfor.IN\" are read once), so a "
                f"calculator for {directory} cannot share it. Use the same directory and "
                f"input files for every calculator of a process, or run the other "
                f"calculator in its own process (for example with multiprocessing)."
            )
        if self.directory is not None:
            changed = [
                name
                for name, text in texts.items()
                if not (directory / name).is_file() or (directory / name).read_text() != text
            ]
            if changed:
                raise EngineInUseError(
                    f"another calculator of this process uses {directory}; this one would "
                    f"rewrite {', '.join(changed)} with other contents, which the engine "
                    f"would not read again. Give the same settings, or use another process."
                )
        self.directory = directory


def _engine_session() -> _EngineSession:
    """The session of this process. It is kept on the extension module, which holds the one
    engine, so that reloading this module (importlib.reload, a notebook's autoreload) does not
    forget which directory the engine reads."""
    import PELIXInterface

    session = getattr(PELIXInterface, "pelix_calculator_session", None)
    if session is None:
        session = _EngineSession()
        PELIXInterface.pelix_calculator_session = session
    return session


_session = _engine_session()


def _box_lengths(atoms) -> np.ndarray:
    """The three box lengths of an orthorhombic cell with positive lengths."""
    cell = np.asarray(atoms.cell.array, dtype=float)
    lengths = np.diag(cell).copy()
    off_diagonal = cell - np.diag(lengths)
    scale = max(float(np.abs(lengths).max()), 1.0)
    if np.abs(off_diagonal).max() > 1e-10 * scale:
        raise ValueError(
            "the engine's box is three lengths along x, y and z; this cell is not "
            f"orthorhombic:\n{cell}"
        )
    if not np.all(np.isfinite(lengths)) or np.any(lengths <= 0.0):
        raise ValueError(
            f"the cell needs a positive length along each of x, y and z, got {lengths}; "
            "give open (non-periodic) axes a box that holds the atoms, e.g. with "
            "atoms.center(vacuum=...)"
        )
    return lengths


def _wrapped_positions(atoms, box: np.ndarray) -> np.ndarray:
    """Positions with the coordinates along periodic axes folded into [0, length)."""
    pos = np.array(atoms.positions, dtype=float)
    for axis in np.flatnonzero(atoms.pbc):
        column = np.mod(pos[:, axis], box[axis])
        column[column >= box[axis]] = 0.0
        pos[:, axis] = column
    return pos


class Calculator(AseCalculator):
    """ASE calculator evaluating energy, free energy, per-atom energies and forces with the
    engine.

    directory:
        where the engine's input files are; the calculator changes into it for each force
        call only. Files given through the arguments below are written there; a file not
        given is used as it stands, except that a missing "pelix.IN" or "lattice.IN" is
        written with defaults (no slabs). "potfor.IN" must exist unless `pairs` is given.
    pairs:
        (symbol, symbol, keyword) per species pair, written to "potfor.IN".
    run_settings:
        settings of "pelix.IN" (see `pelix.inputs.pelix_in_text`). The periodic flags come
        from ``atoms.pbc`` at every call, whatever the file says.
    lattice:
        slabs of "lattice.IN" as {"x": [(code, lo, hi), ...], "y": ..., "z": ...}.

    The cell must be orthorhombic. Species come from the chemical symbols, charges from the
    initial charges. Only one directory can serve the engine in a process. A periodic axis
    shorter than the interaction range (largest cut-off plus 0.3 A, see `interaction_range`)
    is handled by repeating the cell along it for the engine; results are those of the cell.
    """

    implemented_properties = ["energy", "free_energy", "energies", "forces"]

    def __init__(
        self,
        directory: str | os.PathLike = ".",
        pairs: Iterable[tuple[str, str, str]] | None = None,
        run_settings: Mapping[str, object] | None = None,
        lattice: Mapping[str, Iterable[tuple[str, float, float]]] | None = None,
        atoms=None,
    ) -> None:
        path = Path(directory).resolve()
        super().__init__(directory=str(path), atoms=atoms)
        texts = input_texts(pairs, lattice, run_settings)
        if "potfor.IN" not in texts and not (path / "potfor.IN").is_file():
            raise FileNotFoundError(
                f"no \"potfor.IN\" in {path}: give the pair keywords with pairs=[...]"
            )
        for name, text in input_texts(lattice={}, run_settings={}).items():
            if name not in texts and not (path / name).is_file():
                texts[name] = text
        if "potfor.IN" in texts:
            records = potfor_in_records(texts["potfor.IN"])
        else:
            records = read_potfor_in(path / "potfor.IN")
        with _session.lock:
            _session.bind(path, texts)
            path.mkdir(parents=True, exist_ok=True)
            for name, text in texts.items():
                (path / name).write_text(text)
            if _session.pair_records is None:
                _session.pair_records = records
        self.engine_directory = path
        self._has_slabs = bool(lattice) and any(list(slabs) for slabs in lattice.values())
        self._copies: dict = {}  # (box, periodic flags) -> copies of the cell along x, y, z
        self._pairs_taken: set = set()  # species pairs whose family has taken them
        # The engine's interaction range at the last force call (A), 0.0 before the first.
        self.interaction_range = 0.0

    def set(self, **kwargs):
        if kwargs:
            raise ValueError(
                f"cannot change {', '.join(kwargs)}: the engine reads its input files once per "
                "process, so the pair keywords, run settings and slabs are fixed when the "
                "calculator is made"
            )
        return {}

    def calculate(self, atoms=None, properties=("energy",), system_changes=all_changes):
        super().calculate(atoms, properties, system_changes)
        atoms = self.atoms
        natoms = len(atoms)
        box = _box_lengths(atoms)
        symbols = [species_symbol(s) for s in atoms.get_chemical_symbols()]
        number = {s: k for k, s in enumerate(dict.fromkeys(symbols))}  # order of appearance
        species = list(number)
        self._check_pairs_covered(species)
        specie = np.array([number[s] for s in symbols], dtype=np.int32)
        pos = _wrapped_positions(atoms, box).reshape(-1)
        charge = np.ascontiguousarray(atoms.get_initial_charges(), dtype=float)
        everyone = np.zeros(0, dtype=np.int32)
        pbc = tuple(int(bool(p)) for p in atoms.pbc)
        if natoms == 0:  # the module takes no empty arrays; nothing interacts
            self.results = {"energy": 0.0, "free_energy": 0.0, "energies": np.zeros(0),
                            "forces": np.zeros((0, 3))}
            return

        # A periodic axis shorter than the interaction range would miss images beyond the
        # nearest: the cell is then repeated along it and the engine sees the supercell.
        copies = self._copies.get((tuple(box), pbc), (1, 1, 1))
        while True:
            shifts = np.array([(i, j, k) for i in range(copies[0]) for j in range(copies[1])
                               for k in range(copies[2])], dtype=float) * box
            big_pos = (pos.reshape(1, -1, 3) + shifts[:, None, :]).reshape(-1)
            count = len(shifts)
            force = np.zeros(3 * natoms * count)
            kearray, pearray = np.zeros(natoms * count), np.zeros(natoms * count)
            with _session.lock:
                previous = os.getcwd()
                os.chdir(self.engine_directory)
                try:
                    engine = self._prepared_engine(pbc)
                    energy, _, _, status = engine.calcforce(
                        -1, "".join(species), np.tile(specie, count), big_pos,
                        np.tile(charge, count), force, kearray, pearray,
                        *(box * copies), everyone, everyone,
                    )
                    reach = self.interaction_range = engine.interaction_range()
                finally:
                    os.chdir(previous)
            if status != 0:
                raise LostAtomError(self._lost_atom_report(pos.reshape(-1, 3), box, symbols))
            needed = tuple(max(c, math.ceil(reach / length)) if periodic else 1
                           for c, length, periodic in zip(copies, box, pbc))
            if needed == copies:
                break
            if self._has_slabs:
                raise ValueError(
                    f"a periodic axis of the box {tuple(box)} is shorter than the interaction "
                    f"range {reach:g} A, and the cell cannot be repeated along it because "
                    "\"lattice.IN\" slabs are given in the box's coordinates; make the cell at "
                    "least that long along its periodic axes")
            copies = needed
        self._copies[(tuple(box), pbc)] = copies
        self.results = {
            "energy": energy / count,
            "free_energy": energy / count,
            "energies": pearray[:natoms],
            "forces": force[:3 * natoms].reshape(natoms, 3),
        }

    def _prepared_engine(self, pbc: tuple[int, int, int]):
        """The extension module with "pelix.IN" loaded and the periodic flags set; called
        inside the engine directory."""
        import PELIXInterface

        for name in ("pelix.IN", "lattice.IN", "potfor.IN"):
            if not Path(name).is_file():
                raise FileNotFoundError(f"\"{name}\" has gone from {self.engine_directory}")
        if not _session.config_loaded:
            if PELIXInterface.read_pelix_in() != 0:
                raise FileNotFoundError(f"no \"pelix.IN\" in {self.engine_directory}")
            _session.config_loaded = True
            _session.pbc = None
            _session.simutype = Path("pelix.IN").read_text().splitlines()[2][:5]
        if _session.pbc != pbc:
            PELIXInterface.set_pbcs(*pbc)
            _session.pbc = pbc
        return PELIXInterface

    def _check_pairs_covered(self, species: list[str]) -> None:
        """Refuses species pairs without a record or with a keyword outside the catalogue,
        which would stop the engine (and the process) during the set-up."""
        keyword = {frozenset((a, b)): k for a, b, k in _session.pair_records}  # last one wins
        pairs = [(a, b) for n, a in enumerate(species) for b in species[n:]]
        missing = [f"{a}-{b}" for a, b in pairs if frozenset((a, b)) not in keyword]
        if missing:
            raise ValueError(
                f"\"potfor.IN\" in {self.engine_directory} names no potential for the species "
                f"pair(s) {', '.join(missing)}; every pair of the species present needs a "
                "record (one-letter elements are written with an underscore, e.g. O_)"
            )
        for a, b in pairs:
            try:
                potential_keyword(keyword[frozenset((a, b))])
            except ValueError as error:
                raise ValueError(f"\"potfor.IN\", pair {a}-{b}: {error}") from None
        # The family must take the pair (its files read from the engine directory): a refused
        # pair would stop the engine, and the process with it.
        import PELIXInterface

        for a, b in pairs:
            if (a, b) in self._pairs_taken:
                continue
            with _session.lock:
                previous = os.getcwd()
                os.chdir(self.engine_directory)
                try:
                    refusal = PELIXInterface.family_refusal(keyword[frozenset((a, b))], a, b)
                finally:
                    os.chdir(previous)
            if refusal is not None:
                raise ValueError(f"\"potfor.IN\", pair {a}-{b}: the family of "
                                 f"{keyword[frozenset((a, b))]} refuses it: {refusal}")
            self._pairs_taken.add((a, b))

    def _lost_atom_report(self, pos: np.ndarray, box: np.ndarray, symbols: list[str]) -> str:
        low = np.full(3, -_LOST_ATOM_MARGIN)
        if _session.simutype == "INDEN":
            low[1] += _INDENTATION_FLOOR
        high = box + _LOST_ATOM_MARGIN
        inside = np.all((pos >= low) & (pos < high), axis=1)
        lost = np.flatnonzero(~inside)
        region = ", ".join(
            f"[{lo:g}, {hi:g}) along {axis}" for lo, hi, axis in zip(low, high, "xyz")
        )
        if lost.size == 0:
            return f"the engine reported a lost atom; atoms must lie in {region}"
        first = lost[0]
        more = f" ({lost.size} atoms in all)" if lost.size > 1 else ""
        return (
            f"atom {first} ({symbols[first].rstrip('_')}) at {tuple(pos[first].tolist())} is "
            f"lost: atoms must lie in {region}{more}; the engine made no force call"
        )
