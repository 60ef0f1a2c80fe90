"""What the rows share: rounds that take turns, benchmark results, peers."""

import json
import statistics

from .models import Models
from .peers import MODULE, SYSTEM_PYTHON
from .processes import NotRun, need, output, run


class Bench:
    """What the rows share: programs, models, rounds, and benchmark results by name."""

    def __init__(self, options, folder):
        self.program = options.build / "release" / "tervolanda"
        self.static_program = options.build / "static" / "tervolanda"
        self.benchmarks = options.build / "bench" / "bench"
        self.package = options.build / "python-bench" / "python" / "package"
        self.models = Models(folder)
        self.folder = folder
        # The loops of an instruction set; those of the processor without.
        self.kernels = [f"--kernels={options.kernels}"] if options.kernels else []
        self.search_kind = options.kernels or "best"
        self.rounds = 3 if options.quick else 5
        self.quick = options.quick
        self.results = {}

    def interleaved(self, *measurements):
        """The medians of measurements (functions that give a number) that take turns."""
        rounds = [[measure() for measure in measurements] for _ in range(self.rounds)]
        return [statistics.median(column) for column in zip(*rounds)]

    def ours(self, folder, *arguments):
        """A function that runs the program once and gives its CPU seconds.

        The arguments may name other kernels than those of this table.
        """
        chosen = any(word.startswith("--kernels=") for word in map(str, arguments))
        kernels = [] if chosen else self.kernels
        return lambda: run([self.program, *kernels, *arguments], folder).seconds

    def shell_loop(self, folder, pairs):
        """A function that gives the CPU seconds of a shell loop over TMscore."""
        need("TMscore")
        (folder / "pairs.txt").write_text("".join(f"{a} {b}\n" for a, b in pairs), encoding="ascii")
        loop = "while read a b; do TMscore $a $b; done < pairs.txt"
        return lambda: run(["sh", "-c", loop], folder).seconds

    def benchmark(self, binary, pattern, extra=None):
        """CPU nanoseconds by name of the benchmarks that match, medians of their repetitions."""
        if (binary, pattern) not in self.results:
            self.results[binary, pattern] = self._benchmark(binary, pattern, extra)
        return self.results[binary, pattern]

    def _benchmark(self, binary, pattern, extra):
        path = self.benchmarks / binary
        if not path.exists():
            raise NotRun(f"{path} is not built")
        text, _ = output([path, f"--benchmark_filter={pattern}", "--benchmark_format=json",
                          f"--benchmark_repetitions={self.rounds}", "--benchmark_min_time=0.2",
                          "--benchmark_enable_random_interleaving=true"], self.folder, extra)
        unit = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
        found = {}
        for entry in json.loads(text)["benchmarks"]:
            if entry.get("aggregate_name") == "median":
                found[entry["run_name"]] = {**entry,
                                            "ns": entry["cpu_time"] * unit[entry["time_unit"]]}
        if not found:
            raise NotRun(f"no benchmark {pattern} in {binary}")
        return found

    def matrix(self):
        """Writes the distance matrix of the clustering benchmark for the peers."""
        if (self.folder / "matrix").exists():
            return
        output([self.benchmarks / "cluster_bench", "--benchmark_min_time=0.001",
                f"--benchmark_filter=models:{self.cluster_size}/method:1$"], self.folder,
               {"TERVOLANDA_MATRIX_FILE": str(self.folder / "matrix")})

    @property
    def cluster_size(self):
        return 3000 if self.quick else 10000

    def module(self, what, folder):
        """Seconds of a call of the Python module, of the kinds that its script knows."""
        if not (self.package / "tervolanda").exists():
            raise NotRun("the Python module is not built")
        return float(output([SYSTEM_PYTHON, "-c", MODULE, what, str(self.rounds)], folder,
                            {"PYTHONPATH": str(self.package)})[0])

    def peer(self, script, *arguments):
        """The number that a script for Debian's Python prints."""
        return float(output([SYSTEM_PYTHON, "-c", script, *map(str, arguments)],
                            getattr(self, "peer_folder", self.folder))[0])
