#!/usr/bin/env python3
"""tools/check_docs accepts what is as shown and finds each way of being different."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).parent
CHECK_DOCS = HERE.parents[1] / "tools" / "check_docs"


def check(kind, lines):
    """Exit status for a document with these links, or whose one code block has these lines."""
    block = "".join(f"    {line}\n" for line in lines)
    text = "\n".join(lines) if kind == "links" else f"# Title\n\n{block}\nEnd\n"
    with tempfile.TemporaryDirectory() as folder:
        for name, content in [("a.md", text), ("b.md", "# One (and) two"), ("c.png", "")]:
            (pathlib.Path(folder) / name).write_text(content)
        what = ["--links", folder] if kind == "links" else [sys.executable, f"{folder}/a.md"]
        command = [sys.executable, CHECK_DOCS, *what]
        return subprocess.run(command, capture_output=True, check=False).returncode


class CheckDocs(unittest.TestCase):
    def test_judges_as_the_table_says(self):
        rows = [row for row in (HERE / "documents.txt").read_text().splitlines() if row[0] != "#"]
        self.assertEqual(len(rows), 20)
        for row in rows:
            kind, lines = row.split(" | ", 1)
            with self.subTest(row=row):
                self.assertEqual(check(kind.split()[0], lines.split(" / ")), int(kind[-1]))


if __name__ == "__main__":
    unittest.main()
