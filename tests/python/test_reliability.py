"""Force calls under stress, each test in a fresh interpreter on Buckingham Fe pairs in a
periodic box: threads at once, atoms on top of each other, and many consecutive calls."""

import os

import pytest

# A jittered bcc Fe crystal of 2 * n**3 atoms.
CRYSTAL = """
def crystal(n, seed, a=2.8665, jitter=0.15):
    rng = np.random.default_rng(seed)
    cells = np.stack(np.meshgrid(*[np.arange(n)] * 3, indexing="ij"), -1).reshape(-1, 3)
    sites = np.concatenate([cells, cells + 0.5]) * a
    pos = sites + rng.uniform(-jitter, jitter, sites.shape)
    return np.zeros(len(sites), np.int32), pos.ravel(), (n * a,) * 3
"""
SANITIZED = pytest.mark.skipif(os.environ.get("PELIX_SANITIZED") == "1",
                               reason="under AddressSanitizer freed memory is held in "
                               "quarantine; LeakSanitizer checks these calls instead")


def run(workdir, code):
    workdir.use_pairs([("Fe", "Fe", "BUCKBW")], True)
    return workdir.ok(CRYSTAL + code).splitlines()


def test_threads_calling_at_once_get_the_single_threaded_results(workdir):
    run(workdir, """
import threading
from concurrent.futures import ThreadPoolExecutor

# Boxes of different sizes, so that every call also replaces the box the engine keeps.
systems = [crystal(n, seed) for n, seed in ((3, 1), (4, 2), (3, 3), (5, 4))]

def evaluate(k):
    result, out = call("Fe", *systems[k])
    return result, out["force"].tobytes(), out["pearray"].tobytes()

reference = [evaluate(k) for k in range(len(systems))]
assert all(r[0][3] == 0 and abs(r[0][1]) > 0.1 for r in reference), reference
start = threading.Barrier(len(systems))

def worker(k):  # an exception is raised again by pool.map
    start.wait()
    return [k for _ in range(25) if evaluate(k) != reference[k]]

with ThreadPoolExecutor(len(systems)) as pool:
    problems = sum(pool.map(worker, range(len(systems))), [])
assert not problems, problems[:5]
""")


def test_atoms_at_one_position_are_refused_and_the_engine_goes_on(workdir):
    run(workdir, """
specie, pos, box = crystal(3, 5)
good, out = call("Fe", specie, pos, box)
good_force = out["force"].copy()
# Atom 9 on top of atom 2, then atom 2 on the periodic image of atom 0.
cases = [({9: pos[6:9]}, (2, 9)), ({0: (0.0, 1.0, 2.0), 2: (box[0], 1.0, 2.0)}, (0, 2))]
for change, pair in cases:
    same = pos.reshape(-1, 3).copy()
    same[list(change)] = list(change.values())
    out = {name: np.full(len(a), 7.0) for name, a in arrays(len(specie)).items()}
    try:
        call("Fe", specie, same.ravel(), box, out=out)
        raise AssertionError("call accepted")
    except P.error as e:
        assert all(np.all(a == 7.0) for a in out.values())
        lead, _, where = str(e).partition(" are at the same position ")
        assert lead == "calcforce: atoms %d and %d (staging positions)" % pair, e
        assert np.allclose([float(v) for v in where.split()], np.mod(same[pair[0]], box)), e
result, out = call("Fe", specie, pos, box)
assert good[3] == 0 and result == good and np.array_equal(out["force"], good_force)
""")


@SANITIZED
def test_resident_memory_stays_flat_over_many_calls(workdir):
    warm, final = map(int, run(workdir, """
import os

def resident():
    with open("/proc/self/statm") as f:
        return int(f.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")

# Two configurations in turn, so that every call rebuilds tables of another size.
systems = [crystal(5, 6), crystal(5, 7, jitter=0.3)]
outs = [arrays(len(s[0])) for s in systems]
for k in range(10200):
    assert call("Fe", *systems[k % 2], out=outs[k % 2])[0][3] == 0
    if k == 199:
        warm = resident()
print(warm, resident())
""")[-1].split())
    # A leak of a single per-call array of these 250 atoms would add several megabytes.
    assert final - warm < 1_000_000, (warm, final)


@SANITIZED
def test_a_large_call_finds_the_memory_of_the_last_one_still_mapped(workdir):
    # 2 * 68**3 = 628 864 atoms: the heap of a call is then larger than the 64 MiB kept for
    # any call, and the staged atom records alone are 45 MB.
    first, second, third = map(int, run(workdir, """
import resource
specie, pos, box = crystal(68, 3, jitter=0.05)
out, faults = arrays(len(specie)), []
for _ in range(3):
    before = resource.getrusage(resource.RUSAGE_SELF).ru_minflt
    assert call("Fe", specie, pos, box, out=out)[0][3] == 0
    faults.append(resource.getrusage(resource.RUSAGE_SELF).ru_minflt - before)
print(*faults)
""")[-1].split())
    # The first call faults in well over 20 000 pages of 4 kiB; the next ones find them mapped.
    assert first > 20_000 and max(second, third) < 0.05 * first, (first, second, third)
