#!/usr/bin/env python3
"""Prints the table of docs/accuracy.md: nanoseconds of processor time, medians of one run of kx_bench.

    python3 bench/kinematics.py build/release/bin/kx_bench
"""
import json
import subprocess
import sys

ROWS = [  # what, and the benchmarks of its columns: classic function, arm model, batch, Orocos KDL, bare trigonometry
    ("forward", "forward_kx/{}", "forward_model/{}", "forward_batch/{}", "forward_kdl/{}", "forward_floor/{}"),
    ("Jacobian", None, "jacobian_model/{}", None, "jacobian_kdl/{}", None),
    ("inverse, reference near", "inverse_kx/flag{flag}/near/{}", "inverse_model/near/{}", "inverse_batch/near/{}",
     "inverse_kdl_lma/near/{}", "inverse_floor/{}"),
    ("inverse, reference anywhere", "inverse_kx/flag{flag}/far/{}", "inverse_model/far/{}", "inverse_batch/far/{}",
     "inverse_kdl_lma/far/{}", "inverse_floor/{}"),
]
MODELS = (36, 46, 47)

run = subprocess.run([sys.argv[1], "--benchmark_filter=^(forward|jacobian|inverse)_", "--benchmark_min_time=0.05",
                      "--benchmark_format=json"], check=True, stdout=subprocess.PIPE)
median = {b["run_name"].split("/repeats:")[0]: b["cpu_time"]
          for b in json.loads(run.stdout)["benchmarks"] if b.get("aggregate_name") == "median"}

print("| ns, model 36 / 46 / 47 | classic function | arm model | in a batch | Orocos KDL | bare trigonometry |")
print("|---|---|---|---|---|---|")
for what, *names in ROWS:
    cells = [" / ".join(f"{median[name.format(model, flag=2 if model == 47 else 0)]:.0f}" for model in MODELS)
             if name else "" for name in names]
    print("| " + " | ".join([what, *cells]) + " |")
