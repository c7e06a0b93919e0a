"""`plexa sizemap` under mpirun on part files: the built-in mesh split by
'plexa partition', sized on 2 ranks, glued back by 'plexa merge-parts', and
the merged field's largest gradation (H_shock, read through
'plexa sizemap --metric') within the bound on every edge; a rank without its
part file stops every rank with a message rather than leaving them waiting.

Usage: sizemap_parts_check.py PLEXA MPIRUN WORKDIR
"""
import json
import os
import subprocess
import sys

PLEXA, MPIRUN, WORK = sys.argv[1], sys.argv[2], sys.argv[3]
os.makedirs(WORK, exist_ok=True)
BOUND = 0.05
failures = []


def run(command, status=0):
    done = subprocess.run(command, capture_output=True, text=True, timeout=240)
    if (done.returncode == 0) != (status == 0):
        failures.append(f"{' '.join(command)}: exit {done.returncode}\n{done.stdout}{done.stderr}")
    return done


def on_ranks(n, *args, status=0):
    return run([MPIRUN, "--oversubscribe", "-n", str(n), PLEXA, *args], status)


def largest_gradation(mesh, field):
    done = run([PLEXA, "sizemap", mesh, "--metric", field, "-o", os.path.join(WORK, "check.sol"), "--json"])
    return json.loads(done.stdout)["shock_before"] if done.returncode == 0 else None


parts = os.path.join(WORK, "cube")
run([PLEXA, "partition", "builtin", "-n", "2", "-o", parts])

# The field made whole, unbounded, must break the bound for the test to
# mean anything.
whole = os.path.join(WORK, "whole")
run([PLEXA, "convert", "builtin", "-o", whole + ".mesh"])
run([PLEXA, "sizemap", whole + ".mesh", "--gradation", "1e300", "-o", whole + ".sol"])
before = largest_gradation(whole + ".mesh", whole + ".sol")
if before is not None and before <= BOUND:
    failures.append(f"the unbounded field's gradation {before} is already within {BOUND}")

done = on_ranks(2, "sizemap", parts, "--gradation", str(BOUND), "-o", parts)
if done.returncode == 0:
    lines = done.stdout.splitlines()
    if not lines or not lines[0].startswith(parts + ": 2 parts, ") or not lines[-1].startswith("wrote " + parts):
        failures.append("the summary is not printed once, by rank 0:\n" + done.stdout)
    merged = os.path.join(WORK, "merged")
    run([PLEXA, "merge-parts", parts + ".0.mesh", parts + ".1.mesh", "-o", merged + ".mesh",
         "--field", merged + ".sol"])
    after = largest_gradation(merged + ".mesh", merged + ".sol")
    if after is not None and after > BOUND * (1 + 1e-9):
        failures.append(f"the merged field's gradation {after} is above {BOUND}")

# Three ranks, two parts: rank 2 finds no file and every rank stops.
done = on_ranks(3, "sizemap", parts, "-o", os.path.join(WORK, "three"), status=1)
if "cube.2.mesh" not in done.stderr or "another rank failed" not in done.stderr:
    failures.append("a missing part is not reported on every rank:\n" + done.stderr)
# Options the parts do not take: a usage error on every rank.
on_ranks(2, "sizemap", parts, "--variation", "0.1", "-o", parts, status=2)

for f in failures:
    print(f)
sys.exit(1 if failures else 0)
