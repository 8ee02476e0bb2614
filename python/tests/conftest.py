import os
import subprocess
from pathlib import Path

import pytest

import tarvguitar

SOURCE_DIR = Path(__file__).resolve().parents[2]


@pytest.fixture(scope="session")
def build_dir():
    """The CMake build folder whose module is under test (set by run-tests)."""
    value = os.environ.get("TARV_BUILD_DIR_UNDER_TEST")
    if not value:
        pytest.fail("TARV_BUILD_DIR_UNDER_TEST is not set: run the tests with python/run-tests BUILD_DIR")
    return Path(value)


@pytest.fixture(scope="session")
def tool(build_dir):
    """Runs the tarvguitar tool of the build folder; answers its standard output."""
    path = build_dir / "tools" / "tarvguitar" / "tarvguitar"
    if not path.is_file():
        pytest.fail(f"the tool {path} is not built (configure with TARV_BUILD_TOOLS=ON)")

    def run(*arguments, stdin=None):
        completed = subprocess.run(
            [str(path), *arguments], input=stdin, capture_output=True, text=True, check=False
        )
        assert completed.returncode == 0, completed.stderr
        return completed.stdout

    return run


def pytest_report_header(config):
    return f"tarvguitar {tarvguitar.__version__} from {Path(tarvguitar.__file__).parent}"
