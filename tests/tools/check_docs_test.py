#!/usr/bin/env python3
"""tools/check_docs accepts what is as shown and finds each way of being different."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

CHECK_DOCS = pathlib.Path(__file__).parents[2] / "tools" / "check_docs"
SHORTENED = "printf '%s\\n' one two three four"


def check(*lines):
    """Exit status for a document whose one code block has these lines."""
    with tempfile.TemporaryDirectory() as folder:
        document = pathlib.Path(folder) / "document.md"
        document.write_text("# Title\n\n" + "".join(f"    {line}\n" for line in lines) + "\nEnd\n")
        command = [sys.executable, CHECK_DOCS, sys.executable, document]
        return subprocess.run(command, capture_output=True, check=False).returncode


def check_links(text):
    """Exit status for a document with this text beside an image and another document."""
    with tempfile.TemporaryDirectory() as folder:
        for name, content in [("a.md", text), ("b.md", "# One (and) two"), ("c.png", "")]:
            (pathlib.Path(folder) / name).write_text(content)
        command = [sys.executable, CHECK_DOCS, "--links", folder]
        return subprocess.run(command, capture_output=True, check=False).returncode


class CheckDocs(unittest.TestCase):
    def test_accepts(self):
        for lines in [
            ("$ cd build/demo", "$ ls models.txt", "models.txt"),
            ("$ x=3", "$ echo $x", "3"),
            (f"$ {SHORTENED}", "...", "two", "...", "four"),
            ("$ echo 1.25 2.5", "1.25 ..."),
            ("$ printf 'at 1\\b2  \\rAt\\n\\n'", "At 2"),
            ("$ echo 'CPU time = 1.25 seconds' >&2", "CPU time = 0.00 seconds"),
            ("$ false; echo status $?", "status 1"),
        ]:
            with self.subTest(lines=lines):
                self.assertEqual(check(*lines), 0)

    def test_rejects(self):
        for lines in [
            ("$ echo 1.25", "1.26"),
            ("$ echo 1.25",),
            ("$ true", "1.25"),
            (f"$ {SHORTENED}", "one", "...", "three"),
            (f"$ {SHORTENED}", "...", "four", "three", "..."),
            ("$ false",),
            ("$ exit 0", "$ true"),
            ("no command",),
        ]:
            with self.subTest(lines=lines):
                self.assertEqual(check(*lines), 1)

    def test_follows_links(self):
        for text, status in [
            ("[b](b.md) ![c](c.png) [web](https://example.org/none)", 0),
            ("[b](b.md#one-and-two) [a](#title)\n# Title", 0),
            ("[d](d.md)", 1),
            ("[b](b.md#three)", 1),
            ("no link", 1),
        ]:
            with self.subTest(text=text):
                self.assertEqual(check_links(text), status)


if __name__ == "__main__":
    unittest.main()
