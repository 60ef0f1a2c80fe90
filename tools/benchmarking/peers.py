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
