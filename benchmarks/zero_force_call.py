"""Times one force call with the "ZERO" potential on 10^3 .. 10^6 atoms.

Each size runs in a fresh interpreter so that its peak resident memory is its own. The
call covers staging, set-up, cell binning, the neighbour list, the evaluation and the
results. Usage: python3 benchmarks/zero_force_call.py [--sizes 1000 10000 ...]
"""

from __future__ import annotations

import argparse
import json
import subprocess
import sys
import tempfile
import textwrap

CHILD = textwrap.dedent(
    """
    import json, os, resource, sys, time
    import numpy as np
    import PELIXInterface as P
    from pelix.inputs import write_inputs

    n = int(sys.argv[1])
    density = 0.0849  # atoms per A^3, bcc iron
    box = (n / density) ** (1.0 / 3.0)
    rng = np.random.default_rng(7)
    pos = rng.uniform(0.0, box, 3 * n)
    specie = np.zeros(n, np.int32)
    charge = np.zeros(n)
    force = np.zeros(3 * n)
    ke = np.zeros(n)
    pe = np.zeros(n)
    empty = np.zeros(0, np.int32)
    write_inputs(".", pairs=[("Fe", "Fe", "ZERO")], pbc=(1, 1, 1))
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
    args = parser.parse_args()
    print(f"{'atoms':>9} {'s/call':>10} {'us/atom':>9} {'peak RSS MiB':>13} "
          f"{'call growth B/atom':>19}")
    for n in args.sizes:
        with tempfile.TemporaryDirectory() as workdir:
            done = subprocess.run([sys.executable, "-c", CHILD, str(n)], cwd=workdir,
                                  capture_output=True, text=True, check=True)
        row = json.loads(done.stdout.strip().splitlines()[-1])
        print(f"{n:>9} {row['seconds']:>10.4f} {row['seconds'] / n * 1e6:>9.3f} "
              f"{row['peak_rss_kib'] / 1024:>13.1f} {row['growth_kib'] * 1024 / n:>19.1f}")
    return 0


if __name__ == "__main__":
    raise SystemExit(main())
