import os
import subprocess
import sys
from pathlib import Path

PYTHON_DIR = Path(__file__).resolve().parents[1]


def test_pip_installs_the_package_from_the_built_extension(build_dir, tmp_path):
    """pip install --no-build-isolation ./python, reusing the extension of the build folder."""
    target = tmp_path / "site"
    environment = dict(os.environ, TARV_PREBUILT_DIR=str(build_dir))
    environment.pop("PYTHONPATH", None)
    environment.pop("TARV_GUITAR_RESOURCE_DIR", None)
    completed = subprocess.run(
        [sys.executable, "-m", "pip", "install", "--no-build-isolation", "--no-deps",
         "--no-index", "--disable-pip-version-check", "--target", str(target),
         str(PYTHON_DIR)],
        env=environment, capture_output=True, text=True, check=False,
    )
    assert completed.returncode == 0, completed.stdout + completed.stderr

    package = target / "tarvguitar"
    assert (package / "py.typed").is_file()
    assert (package / "_core.pyi").is_file()
    assert (package / "resources" / "shapecaches" / "EADGBE.shapecache").is_file()
    assert (package / "resources" / "settings" / "instruments.plist").is_file()

    check = (
        "import tarvguitar, os\n"
        "print(os.path.dirname(tarvguitar.__file__))\n"
        "print(tarvguitar.default_settings_path())\n"
        "print(tarvguitar.Instrument.from_settings().name)\n"
        "print(tarvguitar.shapes('C')[0].frets)\n"
    )
    environment = dict(os.environ, PYTHONPATH=str(target))
    environment.pop("TARV_GUITAR_RESOURCE_DIR", None)
    completed = subprocess.run(
        [sys.executable, "-c", check], env=environment, capture_output=True, text=True,
        check=False, cwd=tmp_path,
    )
    assert completed.returncode == 0, completed.stderr
    lines = completed.stdout.splitlines()
    assert lines[0] == str(package)
    assert lines[1] == str(package / "resources" / "settings" / "instruments.plist")
    assert lines[2] == "Guitar"
    assert lines[3] == "x,3,2,0,1,0"


def test_prebuilt_folder_without_the_extension_is_refused(tmp_path):
    environment = dict(os.environ, TARV_PREBUILT_DIR=str(tmp_path))
    completed = subprocess.run(
        [sys.executable, "-m", "pip", "install", "--no-build-isolation", "--no-deps",
         "--no-index", "--disable-pip-version-check", "--target", str(tmp_path / "site"),
         str(PYTHON_DIR)],
        env=environment, capture_output=True, text=True, check=False,
    )
    assert completed.returncode != 0
    assert "no extension _core" in completed.stdout + completed.stderr
