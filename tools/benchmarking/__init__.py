"""The parts of tools/bench."""
