"""What a Python script has measured, left in build/ for scripts/figures to take.

Room: scripts. Imported.
"""
import datetime
import json
import pathlib
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent
FOLDER = ROOT / "build/figures"


def leave(name, figures):
    """{row: figure}, with the commit and the day of the measurement."""
    def git(*words):
        done = subprocess.run(["git", "-c", f"safe.directory={ROOT}", "-C", ROOT, *words], capture_output=True, text=True, check=False)
        return done.stdout.strip()

    commit = git("rev-parse", "--short=12", "HEAD")
    changed = " and changes" if git("status", "--porcelain", "--untracked-files=no") else ""
    FOLDER.mkdir(parents=True, exist_ok=True)
    (FOLDER / f"{name}.json").write_text(json.dumps({
        "commit": commit + changed, "date": datetime.datetime.now(datetime.timezone.utc).date().isoformat(),
        "figures": figures}, indent=1) + "\n", encoding="utf-8")
