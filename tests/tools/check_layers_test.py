#!/usr/bin/env python3
"""tools/check_layers finds a violation of each kind and accepts what is allowed."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

CHECK_LAYERS = pathlib.Path(__file__).parents[2] / "tools" / "check_layers"


def check(path, line):
    """Exit status and output for a checkout with one file that holds one line."""
    with tempfile.TemporaryDirectory() as folder:
        (pathlib.Path(folder) / "src").mkdir()
        source = pathlib.Path(folder) / path
        source.parent.mkdir(parents=True, exist_ok=True)
        source.write_text(f"// first line\n{line}\n")
        run = subprocess.run(
            [sys.executable, CHECK_LAYERS, folder], capture_output=True, text=True, check=False
        )
        return run.returncode, run.stdout


class CheckLayers(unittest.TestCase):
    def test_accepts(self):
        for path, target in [
            ("src/compare/maxsub.cpp", "chain/chain.h"),
            ("src/compare/maxsub.cpp", "compare/kernels.h"),
            ("src/cluster/batch.cpp", "compare/workspace.h"),
            ("src/chain/pdb_reader.cpp", "base/text.h"),
            ("src/chain/pdb_reader.cpp", "driver/log.h"),
            ("src/main.cpp", "resultfiles/resultfiles.h"),
            ("tests/compare/maxsub_test.cpp", "support/support.h"),
        ]:
            with self.subTest(path=path, target=target):
                self.assertEqual(check(path, f'#include "{target}"')[0], 0)

    def test_rejects(self):
        for path, target, reason in [
            ("src/base/text.cpp", "driver/log.h", "above base"),
            ("src/driver/log.h", "chain/chain.h", "above log"),
            ("src/chain/chain.h", "compare/compare.h", "above chain"),
            ("src/compare/maxsub.cpp", "driver/settings.h", "above compare"),
            ("src/cluster/batch.cpp", "compare/kernels.h", "not a front door of compare"),
            ("src/driver/pairwise.cpp", "chain/residue_codes.h", "not a front door of chain"),
            ("tests/cluster/batch_test.cpp", "compare/maxsub.h", "not a front door of compare"),
            ("src/compare/maxsub.cpp", "kernels.h", "in no room"),
        ]:
            with self.subTest(path=path, target=target):
                status, output = check(path, f'#  include "{target}"')
                self.assertEqual(status, 1)
                self.assertIn(f'{path}:2: "{target}"', output)
                self.assertIn(reason, output)


if __name__ == "__main__":
    unittest.main()
