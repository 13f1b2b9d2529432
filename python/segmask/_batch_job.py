"""One job of a list, on the worker that got it. Workers get this module's text with the job, so that they need Dask and the
program `segmask`, and not this package: it imports nothing of the package, and what it takes and returns are plain dicts."""

from __future__ import annotations

import datetime
import hashlib
import importlib.util
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
from typing import Any, Mapping, Sequence

import fsspec  # type: ignore[import-untyped]

Members = Mapping[str, Any]

INPUTS = ("input", "detections", "plugin")
OUTPUTS = ("output", "contact-sheet")

# What a disk says that is full here and need not be full elsewhere.
_FULL = ("No space left on device", "Disk quota exceeded", "File too large")

# Seconds for which a worker that has failed a job keeps it when it gets it again: meanwhile it takes no other either.
_PAUSE = 1.0


def is_url(path: Any) -> bool:
    return isinstance(path, str) and "://" in path


def file_system(url: str) -> tuple[Any, str]:
    """The file system of a URL and the path there. Of this thread alone: instances are not safe to share."""
    system, path = fsspec.core.url_to_fs(url, skip_instance_cache=True)
    return system, path


def program_path(name: str | None) -> str | None:
    """The program `segmask`: the one named, or else the first of those inside the package, beside this Python and in the PATH."""
    if name:
        return shutil.which(name)
    package = importlib.util.find_spec("segmask")  # not this module's folder, which is that of the machine it was sent from
    inside = package.submodule_search_locations if package else None
    places = (*(inside or ()), os.path.dirname(sys.executable), os.environ.get("PATH", os.defpath))
    return shutil.which("segmask", path=os.pathsep.join(places))


def program_version(name: str | None) -> str:
    """The version of the program here, or a sentence that says why there is none."""
    path = program_path(name)
    if path is None:
        return f"has no program {name or 'segmask'}"
    try:
        ended = subprocess.run([path, "--version"], capture_output=True, text=True)
    except OSError as error:
        return f"cannot run {path}: {error.strerror}"
    words = ended.stdout.partition("\n")[0].split()  # of "segmask  0.2.0"; versions of libraries follow
    return words[-1] if ended.returncode == 0 and words else f"cannot run {path}: {ended.stderr.strip()}"


def refusal(found: str, wanted: str) -> str | None:
    """Why a worker with this program_version() is not wanted."""
    if found == wanted:
        return None
    return f"has segmask {found}, and this is segmask {wanted}" if found[:1].isdigit() else found


def run_job(members: Members, program: str | None, version: str, redo: bool, avoid: Sequence[str]) -> dict[str, Any]:
    """Does a job whose paths are absolute or URLs, unless it is done. Returns its line of result; its "status" is "trouble" for
    a failure that another worker need not have, and "elsewhere" when this worker is one of those to avoid."""
    worker = _worker()
    name = worker.address if worker else "this process"
    if name in avoid:
        time.sleep(_PAUSE)
        return {"status": "elsewhere", "worker": name}
    try:
        why = refusal(_version_at(worker, program), version)
        result = _trouble(f"the worker {name} {why}") if why else _run_job(members, program, redo, worker)
    except Exception as error:  # of the file systems, and any class of it may be unknown where the result goes
        result = _trouble(f"{type(error).__name__}: {error}")
    return {**result, "worker": name}


def _worker() -> Any:
    distributed = sys.modules.get("distributed")
    try:
        return distributed.get_worker() if distributed else None
    except ValueError:
        return None


def _version_at(worker: Any, program: str | None) -> str:
    """The program is asked once in a worker's life for each name, and again only when it did not answer."""
    known: dict[str | None, str] = worker.__dict__.setdefault("_segmask_versions", {}) if worker else {}
    found = known.get(program) or program_version(program)
    if found[:1].isdigit():
        known[program] = found
    return found


def _trouble(error: str) -> dict[str, Any]:
    return {"status": "trouble", "attempts": 1, "error": error}


def _run_job(members: Members, program: str | None, redo: bool, worker: Any) -> dict[str, Any]:
    with tempfile.TemporaryDirectory(prefix="segmask-", dir=worker.local_directory if worker else None) as folder:
        remote = [name for name in (*INPUTS, *OUTPUTS) if is_url(members.get(name))]
        if not remote:
            return _run_program(members, program, redo, folder)
        record = None if redo else _fitting_record(members)
        if record and all(_facts(members[name]) == _recorded(record, name) for name in INPUTS if name in members):
            return _skipped(members, record)
        staged = dict(members)
        for name in remote:
            staged[name] = os.path.join(folder, name, members[name].rsplit("/", 1)[1])
            os.mkdir(os.path.dirname(staged[name]))
            if name in INPUTS:
                _download(members[name], staged[name])
        if record and all(_digest(staged[name]) == record["inputs"][name]["sha256"] for name in INPUTS if name in members):
            _refresh(members, record)
            return _skipped(members, record)
        result = _run_program(staged, program, redo, folder)
        if result["status"] == "done":
            _upload(members, staged)
        return _with_urls(result, members, staged)


def _run_program(members: Members, program: str | None, redo: bool, folder: str) -> dict[str, Any]:
    """The program does what belongs to a job on one machine: staging, record, and passing over what is done."""
    path = os.path.join(folder, "job.jsonl")
    with open(path, "w", encoding="utf-8") as file:
        json.dump(members, file)
    command = [program_path(program) or "segmask", "batch", "--jobs", "1", "--retries", "0", "--no-progress", path]
    if redo:
        command.insert(2, "--redo")
    if shutil.which("setpriv"):  # ends with the worker, also when that is killed
        command[:0] = ["setpriv", "--pdeathsig", "KILL"]
    ended = subprocess.run(command, capture_output=True, text=True, errors="replace", env={**os.environ, "LC_ALL": "C"})
    if not ended.stdout.strip():
        said = ended.stderr.strip().replace(f"{path}:1: ", "").replace("segmask: ", "")
        return _trouble(said or f"segmask ended with exit code {ended.returncode}")
    result: dict[str, Any] = json.loads(ended.stdout)
    error = result.get("error", "")
    # A job that crashed may have been killed for want of memory, which another machine may have.
    if result["status"] == "interrupted" or "was ended by a signal" in error or any(text in error for text in _FULL):
        result["status"] = "trouble"
    return result


def _fitting_record(members: Members) -> dict[str, Any] | None:
    """The record beside a job's output, unless it is of other options, of other outputs than those that stand there, or of
    inputs of other sizes. The version and the plug-in are one: workers of other versions are refused."""
    record = _read_record(members["output"])
    if record is None or record.get("outputs") != _output_facts(members):
        return None
    options = {name: value for name, value in members.items() if name not in (*INPUTS, *OUTPUTS) and value is not False}
    recorded = record.get("options", {})
    if recorded.keys() != options.keys() or not all(_same(recorded[name], value) for name, value in options.items()):
        return None
    named = [name for name in INPUTS if name in members]
    if any(_facts(members[name])["size"] != _recorded(record, name)["size"] for name in named):
        return None
    return record


def _read_record(output: str) -> dict[str, Any] | None:
    try:
        system, path = file_system(_record_of(output))
        record = json.loads(system.cat_file(path))
    except (FileNotFoundError, ValueError):
        return None
    return record if isinstance(record, dict) else None


def _record_of(output: str) -> str:
    return output + ".segmask.json"


def _same(recorded: str, value: Any) -> bool:
    """Whether an option's text in a record is of this member."""
    if isinstance(value, str):
        return recorded == value
    try:
        return bool(json.loads(recorded) == value)
    except ValueError:
        return False


def _facts(path: str) -> dict[str, Any]:
    """Of an input as it stands. A file system without times gives none, which no record has."""
    if not is_url(path):
        status = os.stat(path)
        return {"size": status.st_size, "mtime_ns": status.st_mtime_ns}
    system, inner = file_system(path)
    return {"size": system.size(inner), "mtime_ns": _time_of(system, inner)}


def _time_of(system: Any, path: str) -> int | None:
    try:
        time: datetime.datetime = system.modified(path)
    except NotImplementedError:
        return None
    zero = datetime.datetime(1970, 1, 1, tzinfo=datetime.timezone.utc)
    aware = time if time.tzinfo else time.replace(tzinfo=datetime.timezone.utc)
    return (aware - zero) // datetime.timedelta(microseconds=1) * 1000


def _recorded(record: Members, name: str) -> dict[str, Any]:
    facts = record.get("inputs", {}).get(name, {})
    return {key: facts.get(key) for key in ("size", "mtime_ns")}


def _digest(path: str) -> str:
    digest = hashlib.sha256()
    with open(path, "rb") as file:
        while block := file.read(1 << 20):
            digest.update(block)
    return digest.hexdigest()


def _output_facts(members: Members) -> dict[str, Any] | None:
    """What stands at the names of a job's outputs, as records have it. None where one is missing."""
    facts = {}
    for name in OUTPUTS:
        if name not in members:
            continue
        system, path = file_system(members[name])
        folder, _, last = path.rpartition("/")
        try:
            if "%" in last and last.lower().endswith(".png"):
                wanted = re.compile(re.sub(r"%%|%\d*d", lambda found: "%" if found[0] == "%%" else r"\d+", re.escape(last)))
                names = (entry.rsplit("/", 1)[1] for entry in system.ls(folder, detail=False))
                facts[name] = {"files": sum(1 for entry in names if wanted.fullmatch(entry))}
            else:
                facts[name] = {"files": 1, "size": system.size(path)}
        except FileNotFoundError:
            return None
        if facts[name]["files"] == 0:
            return None
    return facts


def _skipped(members: Members, record: Members) -> dict[str, Any]:
    summary = record["summary"]
    return {
        "output": members["output"], "status": "skipped", "attempts": 0, "seconds": record["seconds"],
        **{name: summary[name] for name in ("frames", "detections", "drawn", "dropped") if name in summary},
        "exit_code": record["exit_code"],
        "sha256": {name: facts["sha256"] for name, facts in record["inputs"].items()},
    }


def _download(url: str, path: str) -> None:
    system, inner = file_system(url)
    system.get_file(inner, path)
    time = _time_of(system, inner)
    if time is not None:
        os.utime(path, ns=(time, time))  # goes into the record


def _upload(members: Members, staged: Members) -> None:
    """Gives the outputs their names, then the record beside them."""
    urls = [name for name in OUTPUTS if is_url(members.get(name))]
    if "output" not in urls:
        for name in urls:
            _store(members[name], staged[name])
        return
    record_path = _record_of(staged["output"])
    with open(record_path, encoding="utf-8") as file:
        record = _with_urls(json.load(file), members, staged)
    system, path = file_system(_record_of(members["output"]))
    if system.exists(path):  # describes the old outputs
        system.rm_file(path)
    for name in urls:
        folder, url = os.path.dirname(staged[name]), members[name].rsplit("/", 1)[0]
        for entry in sorted(os.listdir(folder)):
            if os.path.join(folder, entry) != record_path:
                _store(f"{url}/{entry}", os.path.join(folder, entry))
    record["outputs"] = _output_facts(members)
    _write_record(members, record)


def _refresh(members: Members, record: dict[str, Any]) -> None:
    """The inputs are those of the record, but for their times."""
    for name in INPUTS:
        if name in members:
            record["inputs"][name].update(_facts(members[name]))
    _write_record(members, record)


def _write_record(members: Members, record: Members) -> None:
    text = json.dumps(record, indent=2) + "\n"
    with tempfile.NamedTemporaryFile() as file:
        file.write(text.encode())
        file.flush()
        _store(_record_of(members["output"]), file.name)


def _store(url: str, path: str) -> None:
    """Writes a file that appears whole or not at all, where the file system can do that: stores of objects can."""
    system, inner = file_system(url)
    with system.transaction, system.open(inner, "wb") as target, open(path, "rb") as source:
        shutil.copyfileobj(source, target, 1 << 20)


def _with_urls(value: dict[str, Any], members: Members, staged: Members) -> dict[str, Any]:
    """A result or a record, with the files by the names that the list has."""
    text = json.dumps(value)
    for name in (*INPUTS, *OUTPUTS):
        if name in members and staged[name] != members[name]:
            text = text.replace(json.dumps(staged[name])[1:-1], json.dumps(members[name])[1:-1])
    found: dict[str, Any] = json.loads(text)
    return found
