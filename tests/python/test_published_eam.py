"""The knot-sum embedded-atom families against LAMMPS `eam/fs` or `eam/alloy` reading the public
tabulations of the same published potentials (Debian's lammps package; the 1987 nickel from
Debian's openkim-models, which the test command unpacks into ~/.cache/pelix; the 2011 Fe-Ni-Cr in
tests/data): energy per atom and forces of a shaken crystal, pure or with other elements on some
sites. Every pair lies above the bridges to ZBL, where the published forms and the tabulations
agree."""

import os
from pathlib import Path

import numpy as np
import pytest

from conftest import lammps
from pelix.inputs import nickel_files

ROOT = Path(__file__).resolve().parents[2]
POTENTIALS = Path("/usr/share/lammps/potentials")
OPENKIM = Path(os.environ.get("XDG_CACHE_HOME") or Path.home() / ".cache") / "pelix/openkim"
OPENKIM_NI = (OPENKIM / "usr/lib/x86_64-linux-gnu/kim-api/portable-models"
              / "EAM_Dynamo_AcklandTichyVitek_1987_Ni__MO_977363131043_005"
              / "libkim-api-portable-model.so")

# keyword, tabulation, its elements (LAMMPS types 1, 2 ...), our species, fractions of the sites
# given to the second, third ... element, lattice and lattice parameter
CASES = [("MENDEL", POTENTIALS / "Fe_mm.eam.fs", "Fe", "Fe", (), "bcc", 2.8553),
         ("AMtest", POTENTIALS / "FeP_mm.eam.fs", "Fe P", "Fe", (), "bcc", 2.8553),
         ("ACKLEAM", POTENTIALS / "FeP_mm.eam.fs", "Fe P", "FeP_", (0.06,), "bcc", 2.8553),
         ("ACKNIAL", OPENKIM_NI, "Ni", "Ni", (), "fcc", 3.52422),
         ("GIOVANI", ROOT / "tests/data/FeNiCr_Bonny2011.eam.alloy", "Fe Ni Cr", "FeNiCr",
          (0.1, 0.2), "fcc", 3.56)]


def tabulation(path: Path, directory: Path) -> Path:
    """The file itself, or the setfl text that an OpenKIM model library carries inside it."""
    assert path.is_file(), f"{path} is missing: the test command installs it"
    if path.suffix != ".so":
        return path
    data = path.read_bytes()
    start = data.index(b"Sourse: The potential")
    text = directory / "Ni.eam.fs"
    text.write_bytes(data[start:data.index(b"\0", start)])
    return text



def shaken_crystal(cells: int, lattice: str, a: float, fractions, seed: int):
    rng = np.random.default_rng(seed)
    grid = np.array([(x, y, z) for x in range(cells) for y in range(cells) for z in range(cells)])
    basis = [(0, 0, 0), (0.5, 0.5, 0.5)] if lattice == "bcc" else [
        (0, 0, 0), (0.5, 0.5, 0), (0.5, 0, 0.5), (0, 0.5, 0.5)]
    sites = np.vstack([grid + b for b in basis]) * a
    pos = sites + rng.uniform(-0.12, 0.12, sites.shape)
    specie = np.zeros(len(sites), int)
    order = rng.permutation(len(sites))
    for k, end in enumerate(np.cumsum(np.round(np.array(fractions) * len(sites))).astype(int)):
        specie[order[np.count_nonzero(specie):end]] = k + 1
    return specie.tolist(), np.mod(pos, cells * a).ravel().tolist(), cells * a


@pytest.mark.skipif(os.environ.get("PELIX_SANITIZED") == "1",
                    reason="third-party program")
@pytest.mark.parametrize("keyword, file, elements, species, fractions, lattice, a", CASES,
                         ids=[c[0] for c in CASES])
def test_crystal_agrees_with_lammps_on_the_published_tabulation(
        workdir, keyword, file, elements, species, fractions, lattice, a):
    path = tabulation(file, workdir.path)
    specie, pos, side = shaken_crystal(5 if lattice == "bcc" else 4, lattice, a, fractions, 3)
    assert len(set(specie)) == len(fractions) + 1
    names = [species[k:k + 2] for k in range(0, len(species), 2)]
    workdir.use_pairs([(a, b, keyword) for k, a in enumerate(names) for b in names[k:]], True)
    for name, text in nickel_files().items() if keyword == "GIOVANI" else ():
        workdir.write(name, text)
    energy, pe, force = workdir.run_calls(species, [(specie, pos)], (side,) * 3)[0]
    style = "eam/alloy" if str(path).endswith(".eam.alloy") else "eam/fs"
    [(their_energy, their_force)] = lammps(specie, [pos], [f"pair_style {style}",
                                                         f"pair_coeff * * {path} {elements}"],
                                           side, periodic=True, ntypes=len(elements.split()),
                                           cwd=workdir.path)
    closest = min(np.linalg.norm((p - q) - side * np.round((p - q) / side))
                  for k, p in enumerate(np.reshape(pos, (-1, 3)))
                  for q in np.reshape(pos, (-1, 3))[k + 1:])
    assert closest > 2.0  # above every ZBL radius and bridge
    assert abs(energy - their_energy) / len(specie) < 1e-8, (energy, their_energy)
    assert np.abs(force - their_force).max() < 5e-5
    assert np.abs(force).max() > 0.1  # a shaken crystal, not one at rest
