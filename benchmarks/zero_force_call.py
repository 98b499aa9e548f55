"""Times one force call with the "ZERO" potential on 10^3 .. 10^6 atoms.

Each size runs in a fresh interpreter so that its peak resident memory is its own. The
call covers staging, set-up, cell binning, the neighbour list, the evaluation and the
results. With "ZERO" the interaction range is the 0.3 A skin alone, so the cell grid has
hundreds of cells per atom: the benchmark shows that the cells cost memory in proportion to
the atoms, not to the cells. `--potential` puts another Fe-Fe keyword in its place (for
instance "ACKLAND", whose range of several A gives a coarse grid), `--positions bcc` a bcc
crystal instead of random positions, and `--density` a more dilute system.

Usage: python3 benchmarks/zero_force_call.py [--sizes 1000 10000 ...] [--potential ZERO]
       [--positions random|bcc] [--density 0.0849]
"""

from __future__ import annotations

import argparse
import json
import subprocess
import sys
import tempfile
import textwrap

BCC_IRON_LATTICE = 2.8665  # A
BCC_IRON_DENSITY = 2.0 / BCC_IRON_LATTICE**3  # atoms per A^3

CHILD = textwrap.dedent(
    """
    import json, os, resource, sys, time
    import numpy as np
    import PELIXInterface as P
    from pelix.inputs import write_inputs

    n, keyword, positions, density, lattice = (int(sys.argv[1]), sys.argv[2], sys.argv[3],
                                                float(sys.argv[4]), float(sys.argv[5]))
    rng = np.random.default_rng(7)
    if positions == "bcc":
        cells = max(1, round((n / 2) ** (1.0 / 3.0)))
        box = cells * lattice
        grid = np.arange(cells) * lattice
        corners = np.array(np.meshgrid(grid, grid, grid, indexing="ij")).reshape(3, -1).T
        sites = np.concatenate([corners, corners + 0.5 * lattice])
        pos = (sites + rng.normal(0.0, 0.05, sites.shape)).reshape(-1)
        n = len(sites)
    else:
        box = (n / density) ** (1.0 / 3.0)
        pos = rng.uniform(0.0, box, 3 * n)
    pos = np.ascontiguousarray(pos)
    specie = np.zeros(n, np.int32)
    charge = np.zeros(n)
    force = np.zeros(3 * n)
    ke = np.zeros(n)
    pe = np.zeros(n)
    empty = np.zeros(0, np.int32)
    write_inputs(".", pairs=[("Fe", "Fe", keyword)], pbc=(1, 1, 1))
    P.read_pelix_in()
    before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    times = []
    for _ in range(3):
        start = time.perf_counter()
        result = P.calcforce(-1, "Fe", specie, pos, charge, force, ke, pe, box, box, box,
                             empty, empty)
        times.append(time.perf_counter() - start)
        assert result[3] == 0, result
    after = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    print(json.dumps({"atoms": n, "seconds": min(times),
                      "peak_rss_kib": after, "growth_kib": after - before}))
    """
)


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--sizes", type=int, nargs="+", default=[1000, 10000, 100000, 1000000])
    parser.add_argument("--potential", default="ZERO", help="Fe-Fe keyword (default ZERO)")
    parser.add_argument("--positions", choices=("random", "bcc"), default="random",
                        help="uniformly random positions, or a bcc crystal shaken by 0.05 A "
                             "(its size rounded to 2 m^3 atoms)")
    parser.add_argument("--density", type=float, default=BCC_IRON_DENSITY,
                        help="atoms per A^3 of the random positions (default: bcc iron)")
    args = parser.parse_args()
    print(f"{args.potential}, {args.positions} positions")
    print(f"{'atoms':>9} {'s/call':>10} {'us/atom':>9} {'peak RSS MiB':>13} "
          f"{'call growth B/atom':>19}")
    for n in args.sizes:
        with tempfile.TemporaryDirectory() as workdir:
            done = subprocess.run(
                [sys.executable, "-c", CHILD, str(n), args.potential, args.positions,
                 repr(args.density), repr(BCC_IRON_LATTICE)],
                cwd=workdir, capture_output=True, text=True, check=True)
        row = json.loads(done.stdout.strip().splitlines()[-1])
        atoms = row["atoms"]
        print(f"{atoms:>9} {row['seconds']:>10.4f} {row['seconds'] / atoms * 1e6:>9.3f} "
              f"{row['peak_rss_kib'] / 1024:>13.1f} {row['growth_kib'] * 1024 / atoms:>19.1f}")
    return 0


if __name__ == "__main__":
    raise SystemExit(main())
