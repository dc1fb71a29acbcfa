"""Starts the programs, encodes and decodes their data, measures them: for every Python test, proof
and benchmark. The tests find it below PYTHONPATH=tests, which CMake and the entry scripts set."""
