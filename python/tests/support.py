"""Copies of real files to work on, and options that choose the library to test."""

import shutil
from pathlib import Path

import pytest

import velmor_core

DATA = Path(__file__).parents[2] / "examples" / "data"


def pytest_addoption(parser):
    parser.addoption("--library", help="the libvelmor-core.so.0 to test, instead of the system's")
    parser.addoption("--edits", type=int, default=2000, help="how many random edits to make")


def pytest_configure(config):
    if config.getoption("--library"):
        velmor_core.load(config.getoption("--library"))


@pytest.fixture(autouse=True)
def files(tmp_path, monkeypatch, doctest_namespace):
    for file in DATA.glob("*.*"):
        shutil.copy(file, tmp_path)
    shutil.copy(DATA / "tagged.wav", tmp_path / "song.wav")
    monkeypatch.chdir(tmp_path)
    doctest_namespace["velmor_core"] = velmor_core
    return tmp_path
