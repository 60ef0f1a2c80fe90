"""Programs of the peers, run by Debian's Python."""

SYSTEM_PYTHON = "/usr/bin/python3"  # sees the modules of Debian's packages

MDTRAJ = """
import sys, time, numpy, mdtraj
frames = []
for name in open('list.txt'):
    frames.append([[float(l[30:38]), float(l[38:46]), float(l[46:54])]
                   for l in open(name.strip()) if l.startswith('ATOM')])
places = numpy.array(frames, dtype=numpy.float32) / 10
topology = mdtraj.Topology()
chain = topology.add_chain()
for i in range(places.shape[1]):
    topology.add_atom('CA', mdtraj.element.carbon, topology.add_residue('ALA', chain))
models = mdtraj.Trajectory(places, topology)
models.center_coordinates()
times = []
for _ in range(int(sys.argv[1])):
    start = time.process_time()
    for i in range(len(places)):
        mdtraj.rmsd(models, models, i, parallel=False, precentered=True)
    times.append((time.process_time() - start) / len(places) ** 2)
print(sorted(times)[len(times) // 2])
"""

# The Python module, told what to measure: seconds of a call, a pair of a list, or a pair.
MODULE = """
import sys, time
import tervolanda
models = tervolanda.read_models('list.txt')
if sys.argv[1] == 'call':
    one, other = (tervolanda.Structure.from_arrays(models[0].coordinates[:5], range(n, n + 5))
                  for n in (0, 100))
    calls, work = 20000, lambda: [tervolanda.compare(one, other) for _ in range(20000)]
elif sys.argv[1] == 'rmsd':
    calls = len(models) * (len(models) - 1) // 2
    work = lambda: tervolanda.all_pairs(models, 'rmsd', threads=1)
else:
    pairs = [(a, b) for a in models[:20] for b in models[:20]]
    calls, work = len(pairs), lambda: [tervolanda.compare(a, b) for a, b in pairs]
times = []
for _ in range(int(sys.argv[2])):
    start = time.process_time()
    work()
    times.append((time.process_time() - start) / calls)
print(sorted(times)[len(times) // 2])
"""

BIOPYTHON = """
import sys, time, numpy
from Bio.SVDSuperimposer import SVDSuperimposer
frames = [numpy.array([[float(l[30:38]), float(l[38:46]), float(l[46:54])]
                       for l in open(name.strip()) if l.startswith('ATOM')])
          for name in list(open('list.txt'))[:20]]
times = []
for _ in range(int(sys.argv[1])):
    start = time.process_time()
    for a in frames:
        for b in frames:
            fit = SVDSuperimposer()
            fit.set(a, b)
            fit.run()
            fit.get_rms()
    times.append((time.process_time() - start) / len(frames) ** 2)
print(sorted(times)[len(times) // 2])
"""

FASTCLUSTER = """
import sys, time, numpy, fastcluster
matrix = numpy.fromfile('matrix', dtype=numpy.float32)
n = int(round(len(matrix) ** 0.5))
matrix = matrix.reshape(n, n)
given = numpy.concatenate([matrix[i, i + 1:] for i in range(n)]).astype(numpy.float64)
times = []
for _ in range(int(sys.argv[2])):
    distances = given.copy()
    start = time.process_time()
    fastcluster.linkage(distances, method=sys.argv[1], preserve_input=False)
    times.append(time.process_time() - start)
print(sorted(times)[len(times) // 2])
"""

# A first cluster of 50 at the lowest threshold, then one after the other, all neighbours counted
# anew for each.  The rounds cost the same, so that the first 20 stand for all.
NEIGHBOURS = """
import sys, time, numpy
matrix = numpy.fromfile('matrix', dtype=numpy.float32)
n = int(round(len(matrix) ** 0.5))
matrix = matrix.reshape(n, n)
rounds = int(sys.argv[1])
start = time.process_time()
threshold = 1.0
while ((matrix <= threshold).sum(axis=1)).max() < 50:
    threshold += 0.2
steps = time.process_time() - start
free = numpy.ones(n, dtype=bool)
start = time.process_time()
measured = min(rounds, 20)
for _ in range(measured):
    counts = ((matrix <= threshold) & free).sum(axis=1)
    counts[~free] = 0
    centre = counts.argmax()
    near = numpy.flatnonzero((matrix[centre] <= threshold) & free)
    free[near[numpy.argsort(matrix[centre][near], kind='stable')[:50]]] = False
print(steps + (time.process_time() - start) * rounds / measured)
"""
