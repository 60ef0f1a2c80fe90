#!/usr/bin/env python3
"""tools/check_layers finds a violation of each kind and accepts what is allowed."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).parent
CHECK_LAYERS = HERE.parents[1] / "tools" / "check_layers"
ROOMS = """# room | front doors | may include | library | untraced
base        | all     | | |
chain       | chain.h | base | chain.h |
chain/input | input.h | base chain | |
compare     | compare.h | base chain | | yes
export      | export.h | base | |
driver      | run.h | all | |
"""


def check(files):
    """Exit status and output for a checkout with these files: each a path and what it includes."""
    with tempfile.TemporaryDirectory() as folder:
        top = pathlib.Path(folder)
        doors = ("chain/chain.h", "chain/input/input.h", "compare/compare.h", "driver/run.h")
        for path in [f"src/{door}" for door in doors] + list(files):
            (top / path).parent.mkdir(parents=True, exist_ok=True)
            lines = [f'#  include "{target}"\n' for target in files.get(path, ())]
            (top / path).write_text("// first line\n" + "".join(lines))
        (top / "src" / "rooms").write_text(ROOMS)
        run = subprocess.run(
            [sys.executable, CHECK_LAYERS, folder], capture_output=True, text=True, check=False
        )
        return run.returncode, run.stdout


class CheckLayers(unittest.TestCase):
    def test_judges_as_the_table_says(self):
        rows = [row for row in (HERE / "includes.txt").read_text().splitlines() if row[0] != "#"]
        self.assertEqual(len(rows), 17)
        for row in rows:
            path, target, reason = (field.strip() for field in row.split("|"))
            with self.subTest(row=row):
                status, output = check({path: [target]})
                self.assertEqual(status, 1 if reason else 0)
                self.assertIn(f'{path}:2: "{target}"' if reason else "", output)
                self.assertIn(reason, output)

    def test_rejects_files_in_a_circle_but_for_a_front_door(self):
        circle = {
            "src/compare/a.h": ["compare/b.h"],
            "src/compare/b.cpp": ["compare/c.h"],
            "src/compare/c.h": ["compare/a.h"],
        }
        self.assertIn("circle: compare/a, compare/b, compare/c\n", check(circle)[1])
        facade = {
            "src/compare/compare.cpp": ["compare/a.h"],
            "src/compare/a.h": ["compare/compare.h"],
        }
        self.assertEqual(check(facade)[0], 0)

    def test_rejects_a_room_without_its_front_door(self):
        self.assertIn("src/export/export.h: a front door", check({"src/export/a.cpp": []})[1])


if __name__ == "__main__":
    unittest.main()
