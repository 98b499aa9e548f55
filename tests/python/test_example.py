"""The worked example: every case runs its force calls to the end with status 0."""

import math
import re
import subprocess
import sys

import pytest

from pelix.example import CASES


@pytest.mark.parametrize("case", sorted(CASES))
def test_example_case_runs_and_reports_finite_results(case):
    done = subprocess.run(
        [sys.executable, "-m", "pelix.example", "--case", case, "--cells", "3", "--calls", "2"],
        capture_output=True, text=True, timeout=120,
    )
    assert done.returncode == 0, done.stdout + done.stderr
    calls = re.findall(r"energy (\S+) eV .*largest force (\S+) eV/A .*status (\d+)", done.stdout)
    assert len(calls) == 2, done.stdout
    for energy, maxforce, status in calls:
        assert status == "0"
        assert math.isfinite(float(energy)) and float(energy) != 0.0
        assert math.isfinite(float(maxforce)) and float(maxforce) > 0.0
