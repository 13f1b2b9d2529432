"""`python -m segmask.batch JOBS.jsonl --scheduler tcp://HOST:8786`: the jobs of a list on the workers of a Dask cluster.

The list, the results and the records are those of `segmask batch`, which does each job. A path may be a URL that fsspec knows.
Needs the extra `dask` of the package here; workers need Dask, and the package or the program `segmask`. docs/scale.md has the rules
and recipes.
"""

from __future__ import annotations

import argparse
import concurrent.futures
import contextlib
import fcntl
import importlib
import itertools
import json
import os
import pathlib
import pickle
import subprocess
import sys
import tempfile
import uuid
from typing import Any, Callable, Iterator, NamedTuple, Sequence

try:
    # By name, because their types do not cover what is used here.
    cloudpickle: Any = importlib.import_module("cloudpickle")
    distributed: Any = importlib.import_module("distributed")
except ImportError as error:
    raise ImportError(f"{error}; segmask.batch needs Dask: pip install distributed fsspec") from None

from . import _batch_job
from ._batch_job import INPUTS, OUTPUTS, file_system, is_url

DONE, SOME_FAILED, BAD_INPUT, DROPPED, INTERRUPTED, PIPE_CLOSED = 0, 1, 2, 3, 130, 141


class UserError(Exception):
    """What the user is told; nothing was started."""


class Job(NamedTuple):
    line: int
    members: dict[str, Any]


def read_jobs(path: str, program: str) -> list[Job]:
    """The jobs of a list, their relative paths joined to its folder. Raises UserError for the first fault that
    `segmask batch --check` finds, or an input that is a URL and not there."""
    try:
        text = _read(path).decode("utf-8-sig")
    except FileNotFoundError:
        raise UserError(f"{path}: No such file or directory") from None
    except (OSError, ValueError, ImportError) as error:
        raise UserError(f"{path}: {error}") from None
    folder = path.rpartition("/")[0] if is_url(path) else os.path.dirname(os.path.abspath(path))
    lines = [_parsed(line, folder) for line in text.split("\n")]
    _check(path, lines, program)
    jobs = [Job(number, line) for number, line in enumerate(lines, 1) if isinstance(line, dict)]
    _check_urls(path, jobs)
    return jobs


def _read(path: str) -> bytes:
    if not is_url(path):
        return pathlib.Path(path).read_bytes()
    system, inner = file_system(path)
    content: bytes = system.cat_file(inner)
    return content


def _parsed(line: str, folder: str) -> str | dict[str, Any]:
    """A line's job, or the line as it is where it holds none: the check says why."""
    try:
        job = json.loads(line)
    except ValueError:
        return line
    if not isinstance(job, dict):
        return line
    return {name: _resolved(value, folder) if name in (*INPUTS, *OUTPUTS) else value for name, value in job.items()}


def _resolved(path: Any, folder: str) -> Any:
    if not isinstance(path, str) or path in ("", "-"):
        return path
    if path.startswith(("file://", "local://")):
        return path.split("://", 1)[1]
    return path if is_url(path) or path.startswith("/") else f"{folder}/{path}"


def _check(path: str, lines: Sequence[str | dict[str, Any]], program: str) -> None:
    """Has the program check the list, with empty files in a folder in place of those that are URLs."""
    with tempfile.TemporaryDirectory(prefix="segmask-") as folder:
        schemes: set[str] = set()
        with open(os.path.join(folder, "list"), "w", encoding="utf-8") as file:
            for line in lines:
                if isinstance(line, dict):
                    schemes.update(line[name].split("://")[0] for name in (*INPUTS, *OUTPUTS) if is_url(line.get(name)))
                    line = json.dumps({name: _stand_in(name, value, folder) for name, value in line.items()})
                file.write(line + "\n")
        ended = subprocess.run([program, "batch", "--check", file.name], capture_output=True, text=True, errors="replace")
        if ended.returncode == 0:
            return
        message = ended.stderr.strip().removeprefix("segmask: ").replace(file.name, path)
        for scheme in schemes:
            message = message.replace(f"{folder}/{scheme}/", f"{scheme}://")
        raise UserError(message)


def _stand_in(name: str, value: Any, folder: str) -> Any:
    if name not in (*INPUTS, *OUTPUTS) or not is_url(value):
        return value
    path = pathlib.Path(folder, value.replace("://", "/", 1))
    path.parent.mkdir(parents=True, exist_ok=True)
    if name in INPUTS:
        path.touch()
    return str(path)


def _check_urls(path: str, jobs: Sequence[Job]) -> None:
    line_of: dict[str, int] = {}
    for job in jobs:
        for name in INPUTS:
            if is_url(job.members.get(name)):
                line_of.setdefault(job.members[name], job.line)
    with concurrent.futures.ThreadPoolExecutor(16) as pool:
        for (url, line), fault in zip(line_of.items(), pool.map(_fault_of, line_of)):
            if fault:
                raise UserError(f"{path}:{line}: {url}: {fault}")


def _fault_of(url: str) -> str | None:
    try:
        system, inner = file_system(url)
        return None if system.isfile(inner) else "No such file"
    except Exception as error:  # each file system has its own
        return str(error) or type(error).__name__


def _portable(function: Callable[..., Any]) -> Callable[..., Any]:
    """A function of _batch_job as one that brings its text with it. Dask sends by name whatever has one, and so needs the same
    package everywhere, on the scheduler too."""
    cloudpickle.register_pickle_by_value(_batch_job)
    text = cloudpickle.dumps(function)

    def call(*arguments: Any) -> Any:
        return pickle.loads(text)(*arguments)

    return call


def check_workers(client: Any, program: str | None, version: str) -> None:
    """Raises UserError if a worker that answers has not this version of the program. One that has just gone does not answer."""
    for address, found in client.run(_portable(_batch_job.program_version), program, on_error="ignore").items():
        why = _batch_job.refusal(found, version)
        if why:
            raise UserError(f"the worker {address} {why}")


def run_jobs(
    client: Any, jobs: Sequence[Job], *, program: str | None, version: str, redo: bool, retries: int
) -> Iterator[tuple[Job, dict[str, Any]]]:
    """Has the workers do the jobs; gives each with its result, as they end. Dask starts a job again whose worker has died. One that
    failed for a reason that may be the worker's is given to another, if there is one, at most `retries` times. An idle worker may
    still take it from the other's queue; then it comes back undone, and that is no attempt."""
    run, run_job, submitted = uuid.uuid4().hex, _portable(_batch_job.run_job), itertools.count()
    started: dict[str, tuple[Job, int, list[str]]] = {}

    def submit(job: Job, attempt: int, avoid: list[str]) -> Any:
        others = [address for address in client.nthreads() if address not in avoid] if avoid else []
        key = f"segmask-{run}-{job.line}-{next(submitted)}"
        started[key] = job, attempt, avoid
        return client.submit(run_job, job.members, program, version, redo, avoid if others else [], key=key, pure=False,
                             workers=others or None, allow_other_workers=bool(others))

    running = distributed.as_completed([submit(job, 1, []) for job in jobs], raise_errors=False)
    for future in running:
        job, attempt, avoid = started.pop(future.key)
        result = _result_of(future)
        if result["status"] == "elsewhere":
            running.add(submit(job, attempt, avoid))
            continue
        if result["status"] == "trouble" and attempt <= retries:
            running.add(submit(job, attempt + 1, [*avoid, result["worker"]]))
            continue
        if result["status"] == "trouble":
            result["status"] = "failed"
        result["attempts"] += attempt - 1
        yield job, {**result, "job": job.line, "output": job.members["output"]}


def _result_of(future: Any) -> dict[str, Any]:
    if future.status == "finished":
        result: dict[str, Any] = future.result()
        return result
    error = "the scheduler has gone" if future.cancelled() else str(future.exception()) or future.status
    return {"status": "failed", "attempts": 1, "error": error}


def _arguments(arguments: Sequence[str] | None) -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="python -m segmask.batch", description="Render many files on the workers of a Dask cluster.",
        epilog="Exit codes: those of segmask batch.")
    parser.add_argument("list", metavar="JOBS.jsonl", help="the jobs, as segmask batch takes them; a path may be a URL for fsspec")
    parser.add_argument("--scheduler", required=True, metavar="ADDRESS", help="tcp://HOST:PORT, or the path of a scheduler file")
    parser.add_argument("--retries", type=_count, default=2, metavar="N", help="how often a job is given to another worker that "
                        "crashed or found a disk full or a storage unreachable (default: 2)")
    parser.add_argument("--redo", action="store_true", help="do all jobs, also those that are done")
    parser.add_argument("--check", action="store_true", help="check the list and the workers, and start nothing")
    parser.add_argument("--program", metavar="FILE", help="the program segmask, here and on the workers (default: the one of "
                        "the package)")
    return parser.parse_args(arguments)


def _count(text: str) -> int:
    if not text.isdecimal():
        raise argparse.ArgumentTypeError(f"{text!r} is not a whole number from 0 on")
    return int(text)


@contextlib.contextmanager
def _locked(path: str) -> Iterator[None]:
    """Holds the list as `segmask batch` does, so that two runs do not do the same work. One that is a URL cannot be held."""
    if is_url(path):
        yield
        return
    try:
        file = open(path, "rb")
    except OSError as error:
        raise UserError(f"{path}: {error.strerror}") from None
    with file:
        try:
            fcntl.flock(file, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            raise UserError(f"{path}: another segmask batch is working on this list") from None
        except OSError:
            pass  # a file system without locks
        yield


def _connect(scheduler: str) -> Any:
    try:
        if "://" in scheduler:
            return distributed.Client(scheduler)
        return distributed.Client(scheduler_file=scheduler)
    except (OSError, ValueError) as error:
        raise UserError(f"{scheduler}: {error}") from None


def _batch(options: argparse.Namespace) -> int:
    program = _batch_job.program_path(options.program)
    version = _batch_job.program_version(options.program)
    if program is None or not version[:1].isdigit():
        raise UserError(f"this machine {version}")
    with _locked(options.list):
        jobs = read_jobs(options.list, program)
        with _connect(options.scheduler) as client:
            check_workers(client, options.program, version)
            if options.check:
                return DONE
            return _report(options.list, len(jobs), run_jobs(
                client, jobs, program=options.program, version=version, redo=options.redo, retries=options.retries))


def _report(path: str, count: int, results: Iterator[tuple[Job, dict[str, Any]]]) -> int:
    """Tells the results and the totals. Returns the exit code."""
    counts = {"done": 0, "skipped": 0, "failed": 0}
    dropped = interrupted = False
    try:
        for job, result in results:
            counts[result["status"]] += 1
            dropped = dropped or result.get("exit_code") == DROPPED
            print(json.dumps(result), flush=True)
            if "error" in result:
                print(f"segmask: {path}:{job.line}: {result['error']}", file=sys.stderr)
    except KeyboardInterrupt:
        interrupted = True
    totals = [*counts.items(), ("not ended", count - sum(counts.values()))]
    print("segmask: jobs: " + ", ".join(f"{jobs} {what}" for what, jobs in totals if jobs), file=sys.stderr)
    if interrupted:
        return INTERRUPTED
    return SOME_FAILED if counts["failed"] else DROPPED if dropped else DONE


def main(arguments: Sequence[str] | None = None) -> int:
    """The command. Returns its exit code."""
    try:
        return _batch(_arguments(arguments))
    except UserError as error:
        print(f"segmask: {error}", file=sys.stderr)
        return BAD_INPUT
    except BrokenPipeError:  # of the results
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())  # for what Python still writes at its end
        return PIPE_CLOSED


if __name__ == "__main__":
    sys.exit(main())
