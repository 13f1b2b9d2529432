"""Job lists on a Dask cluster. Jobs are held by a program that stands in for `segmask`, so that nothing depends on time."""

import datetime
import importlib.util
import json
import os
import pathlib
import resource
import signal
import subprocess
import sys
import threading
import time

import pytest

import segmask
from segmask import _batch_job
from test_render import raw_video

pytest.importorskip("distributed")
import distributed
import fsspec

from segmask import batch

WIDTH, HEIGHT, LONG_FRAMES = 33, 21, 300
SMALL = int(os.environ.get("SEGMASK_EXAMPLES", "200"))  # fewer with the sanitizers, which see nothing new in each
SIZE = f"{WIDTH}x{HEIGHT}"


@pytest.fixture(scope="module")
def cluster():
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=":0") as made:
        yield made.scheduler_address


@pytest.fixture(scope="module")
def inputs(tool, tmp_path_factory):
    """Many short videos and a longer one, with what a single process makes of them."""
    folder = tmp_path_factory.mktemp("inputs")
    names = ["long", *(f"{number:03}" for number in range(SMALL))]
    for name in names:
        raw_video(folder / f"{name}.nv12", frames=LONG_FRAMES if name == "long" else 2, width=WIDTH, height=HEIGHT)
        with segmask.DetectionWriter(folder / f"{name}.jsonl") as writer:
            writer.write(0, [segmask.detection([[1] * (1 + len(name)), [0] * (1 + len(name))], class_id=sum(name.encode()))])
    (folder / "expected").mkdir()
    subprocess.run([tool, "batch", "--no-progress", write_list(folder, names, folder / "expected")], check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return folder, names


def job_of(inputs, name, output, **more):
    return {"input": f"{inputs}/{name}.nv12", "detections": f"{inputs}/{name}.jsonl", "size": SIZE, "config": {"alpha": 0.5},
            "lookback": 1, "output": f"{output}/{name}.nv12", **more}


def write_list(inputs, names, output):
    path = output / "jobs.jsonl"
    path.write_text("".join(json.dumps(job_of(inputs, name, output)) + "\n" for name in names))
    return path


def assert_as_by_one_process(inputs, names, output):
    """Each output, once and the same, and nothing else but the records."""
    for name in names:
        assert (output / f"{name}.nv12").read_bytes() == (inputs / f"expected/{name}.nv12").read_bytes(), name
    found = {path.name for path in output.iterdir() if not path.name.startswith(".segmask-")}
    assert found == {"jobs.jsonl"} | {f"{name}.nv12{end}" for name in names for end in ("", ".segmask.json")}


@pytest.fixture
def run(capfd, cluster):
    """Runs the command; gives its exit code, its results by output's name, and what it said."""

    def call(path, *options, scheduler=cluster):
        code = batch.main([str(path), "--scheduler", scheduler, *map(str, options)])
        told = capfd.readouterr()
        lines = [json.loads(line) for line in told.out.splitlines()]
        results = {pathlib.PurePath(line["output"]).stem: line for line in lines}
        assert len(lines) == len(results)
        return code, results, told.err

    return call


@pytest.fixture
def holding(tool, tmp_path):
    """A program that holds the first process for the longer video, for ever; the file `held` then has its id."""
    folder = tmp_path / "holding"
    folder.mkdir()
    held = folder / "held"
    program = folder / "segmask"
    program.write_text(f"""#!/bin/sh
for list; do :; done
if [ "$1 $2" = "batch --jobs" ]; then
  read -r job <"$list"
  case "$job" in
  *long.nv12*)
    mkdir '{folder}/once' 2>/dev/null && echo $$ >'{folder}/new' && mv '{folder}/new' '{held}' && exec sleep 100000 ;;
  esac
fi
exec '{tool}' "$@"
""")
    program.chmod(0o755)
    return program, held


def wait_for(condition):
    while not condition():
        time.sleep(0.02)


def is_alive(process):
    try:
        return pathlib.Path(f"/proc/{process}/stat").read_text().rsplit(")", 1)[1].split()[0] != "Z"
    except FileNotFoundError:
        return False


def test_a_worker_killed_in_the_middle(inputs, run, holding, tmp_path):
    """Its job is done by another, and its process has ended with it."""
    folder, names = inputs
    output = tmp_path / "out"
    output.mkdir()
    program, held = holding

    def kill():
        wait_for(held.exists)
        status = pathlib.Path(f"/proc/{int(held.read_text())}/status").read_text()
        os.kill(int(status.split("PPid:")[1].split()[0]), signal.SIGKILL)

    threading.Thread(target=kill, daemon=True).start()
    code, results, told = run(write_list(folder, names, output), "--program", program)
    assert (code, told.splitlines()[-1]) == (0, f"segmask: jobs: {len(names)} done")
    assert {result["status"] for result in results.values()} == {"done"}
    assert_as_by_one_process(folder, names, output)
    wait_for(lambda: not is_alive(int(held.read_text())))


def test_the_whole_run_killed_and_resumed(inputs, run, holding, tool, tmp_path):
    """What was done stays; the second run does the rest, and `segmask batch` finds nothing left to do."""
    folder, names = inputs
    names = names[:20]
    output = tmp_path / "out"
    output.mkdir()
    program, held = holding
    path = write_list(folder, names, output)
    script, said = tmp_path / "run.py", tmp_path / "said"
    script.write_text(f"""
import distributed
from segmask import batch
if __name__ == "__main__":
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=":0") as cluster:
        batch.main([{str(path)!r}, "--scheduler", cluster.scheduler_address, "--program", {str(program)!r}])
""")
    with said.open("w") as errors, subprocess.Popen([sys.executable, script], stdout=subprocess.PIPE, stderr=errors,
                                                    start_new_session=True) as whole:
        first = [whole.stdout.readline() for _ in range(5)]
        wait_for(lambda: held.exists() or whole.poll() is not None)
        assert whole.poll() is None, said.read_text()
        os.killpg(whole.pid, signal.SIGKILL)
        whole.stdout.read()  # ends when the last process that could write to it has ended
    wait_for(lambda: not is_alive(int(held.read_text())))
    first = [json.loads(line)["output"] for line in first]
    before = {name: os.stat(name).st_mtime_ns for name in first}

    code, results, told = run(path, "--program", program)
    assert code == 0, told
    assert results.keys() == set(names)
    assert {results[pathlib.PurePath(name).stem]["status"] for name in first} == {"skipped"}
    assert results["long"]["status"] == "done"
    assert {name: os.stat(name).st_mtime_ns for name in first} == before
    assert_as_by_one_process(folder, names, output)
    again = subprocess.run([tool, "batch", path], check=True, capture_output=True, text=True)
    assert again.stderr == f"segmask: jobs: {len(names)} skipped\n"


def test_a_changed_input_is_done_again_and_alone(inputs, run, tool, tmp_path):
    """Also where `segmask batch` has done the jobs before."""
    folder, names = inputs
    path = write_list(folder, names[1:4], tmp_path)
    subprocess.run([tool, "batch", path], check=True, capture_output=True)
    lines = path.read_text().splitlines()
    path.write_text("\n".join([lines[0], lines[1].replace('"lookback": 1', '"lookback": 0'), lines[2]]))
    code, results, _ = run(path, "--program", tool)
    assert code == 0
    assert [results[name]["status"] for name in names[1:4]] == ["skipped", "done", "skipped"]
    assert [results[name]["job"] for name in names[1:4]] == [1, 2, 3]


@pytest.fixture
def full_disk(cluster):
    """Lets the first workers, as many as it is told, write small files only."""
    with distributed.Client(cluster) as client:
        addresses = list(client.nthreads())

        def limit(count, size):
            client.run(resource.setrlimit, resource.RLIMIT_FSIZE, (size, resource.RLIM_INFINITY), workers=addresses[:count])

        yield lambda count: limit(count, 1024) or addresses[:count]
        limit(2, resource.RLIM_INFINITY)


def test_a_full_disk_on_one_worker(inputs, run, full_disk, tool, tmp_path):
    """Its jobs go to the other, with one retry: that an idle worker takes them back is no attempt."""
    folder, names = inputs
    full = full_disk(1)
    code, results, told = run(write_list(folder, names[:12], tmp_path), "--program", tool, "--retries", 1)
    assert code == 0, told
    assert not {result["worker"] for result in results.values()} & set(full)
    assert {result["attempts"] for result in results.values()} >= {2}
    assert_as_by_one_process(folder, names[:12], tmp_path)


def test_a_job_that_comes_back_to_the_worker_it_avoids_is_not_begun(inputs, tool, tmp_path):
    version = _batch_job.program_version(tool)
    result = _batch_job.run_job(job_of(inputs[0], "000", tmp_path), tool, version, False, ["this process"])
    assert result == {"status": "elsewhere", "worker": "this process"}
    assert not list(tmp_path.iterdir())


def test_full_disks_everywhere_fail_the_job_after_the_retries(inputs, run, full_disk, tool, tmp_path):
    full_disk(2)
    code, results, told = run(write_list(inputs[0], ["000"], tmp_path), "--program", tool, "--retries", 1)
    assert (code, results["000"]["status"], results["000"]["attempts"]) == (1, "failed", 2)
    assert "File too large" in results["000"]["error"]
    assert f"jobs.jsonl:1: {results['000']['error']}" in told
    assert not (tmp_path / "000.nv12").exists()


def test_a_corrupt_input_among_good_ones(inputs, run, tool, tmp_path):
    """It fails once, by its name, and stops no other."""
    folder, names = inputs
    good = names[1:11]
    path = write_list(folder, good, tmp_path)
    (tmp_path / "bad").mkdir()
    (tmp_path / "bad/x.jsonl").write_text('{"frame": 0, "producer"')
    bad = json.dumps(job_of(folder, "011", tmp_path, detections=str(tmp_path / "bad/x.jsonl")))
    path.write_text(bad + "\n" + path.read_text())
    code, results, told = run(path, "--program", tool)
    assert (code, results["011"]["status"], results["011"]["attempts"]) == (1, "failed", 1)
    assert f"{path}:1: {tmp_path}/bad/x.jsonl:1" in told
    (tmp_path / "bad/x.jsonl").unlink()
    (tmp_path / "bad").rmdir()
    assert_as_by_one_process(folder, good, tmp_path)


@pytest.mark.parametrize("change, said", [
    ({"input": "missing.nv12"}, "missing.nv12: No such file or directory"),
    ({"input": "memory://nowhere/a.nv12"}, "memory://nowhere/a.nv12: No such file"),
    ({"input": "neverheard://a/a.nv12"}, "neverheard://a/a.nv12: Protocol not known: neverheard"),
    ({"alfa": 1}, 'a job has no "alfa"'),
    ({"output": "000.nv12"}, "000.nv12: the job of line 1 writes it too"),
    ({"output": "memory://b/x.nv12", "contact-sheet": "memory://b/x.nv12"}, "memory://b/x.nv12"),
    ({"detections": "-"}, "-: a job has files, not standard input or output"),
])
def test_faults_of_the_list_are_found_before_anything_starts(inputs, run, tool, tmp_path, change, said):
    """No scheduler is asked either: there is none at this address."""
    path = tmp_path / "jobs.jsonl"
    jobs = [job_of(inputs[0], "000", "."), {**job_of(inputs[0], "001", "."), **change}]
    path.write_text("".join(json.dumps(job) + "\n" for job in jobs))
    code, results, told = run(path, "--program", tool, scheduler="tcp://127.0.0.1:1")
    assert (code, results) == (2, {})
    assert told.startswith(f"segmask: {path}:2: ") and said in told
    assert [entry.name for entry in tmp_path.iterdir()] == ["jobs.jsonl"]


def test_a_list_that_another_run_holds_is_refused(inputs, run, tool, tmp_path):
    """However it holds it, so that of two runs at the same time one is refused."""
    path = write_list(inputs[0], ["000"], tmp_path)
    with subprocess.Popen(["flock", "--shared", path, "cat"], stdin=subprocess.PIPE, stdout=subprocess.PIPE) as holder:
        holder.stdin.write(b"held\n")
        holder.stdin.flush()
        holder.stdout.readline()
        code, _, told = run(path, "--program", tool)
        holder.stdin.close()
    assert (code, told) == (2, f"segmask: {path}: another segmask batch is working on this list\n")


def test_a_reader_of_the_results_who_has_gone_ends_the_command_quietly(inputs, cluster, tool, tmp_path):
    """With the exit code of a program that the closed pipe's signal ends, as it does `segmask batch`."""
    path = write_list(inputs[0], ["000", "001"], tmp_path)
    reader, results = os.pipe()
    os.close(reader)
    ended = subprocess.run([sys.executable, "-m", "segmask.batch", path, "--scheduler", cluster, "--program", tool],
                           stdout=results, stderr=subprocess.PIPE, text=True)
    os.close(results)
    assert (ended.returncode, ended.stderr) == (141, "")


@pytest.fixture
def another_version(cluster, tool, tmp_path):
    """A program that is of another version on one of the workers, and that worker."""
    program = tmp_path / "aging"
    program.write_text(f'#!/bin/sh\nif [ -n "$AGED" ]; then echo segmask 0.0.9; else exec "{tool}" "$@"; fi\n')
    program.chmod(0o755)
    with distributed.Client(cluster) as client:
        worker = next(iter(client.nthreads()))
        client.run(lambda: os.environ.update(AGED="1"), workers=[worker])
        yield program, worker
        client.run(lambda: os.environ.pop("AGED"), workers=[worker])


def test_a_worker_of_another_version_is_refused(inputs, run, another_version, tool, tmp_path):
    program, worker = another_version
    version = _batch_job.program_version(tool)
    code, results, told = run(write_list(inputs[0], ["000"], tmp_path), "--program", program)
    assert (code, results) == (2, {})
    assert told == f"segmask: the worker {worker} has segmask 0.0.9, and this is segmask {version}\n"


def test_a_worker_that_dies_when_it_is_asked_is_passed_over(cluster, inputs, run, tool, tmp_path):
    program = tmp_path / "deadly"
    program.write_text(f'#!/bin/sh\nif [ -n "$DOOMED" ]; then kill -KILL $PPID; else exec "{tool}" "$@"; fi\n')
    program.chmod(0o755)
    with distributed.Client(cluster) as client:
        worker = next(iter(client.nthreads()))
        client.run(lambda: os.environ.update(DOOMED="1"), workers=[worker])
    output = tmp_path / "out"
    output.mkdir()
    code, results, told = run(write_list(inputs[0], ["000"], output), "--program", program)
    assert (code, results["000"]["status"]) == (0, "done"), told
    assert results["000"]["worker"] != worker


def test_the_program_is_the_packages_own_unless_another_is_named(tool, tmp_path, monkeypatch):
    (tmp_path / "segmask").write_text("#!/bin/sh\n")
    (tmp_path / "segmask").chmod(0o755)
    monkeypatch.setenv("PATH", str(tmp_path))
    assert _batch_job.program_path(None) == str(pathlib.Path(segmask.__file__).parent / "segmask")
    assert _batch_job.program_path("segmask") == str(tmp_path / "segmask")
    assert _batch_job.program_path(tool) == tool


def test_a_worker_that_comes_later_with_another_version_gets_no_job_done(inputs, tool, tmp_path):
    result = _batch_job.run_job(job_of(inputs[0], "000", tmp_path), tool, "0.0.9", False, [])
    assert result["status"] == "trouble"
    assert "and this is segmask 0.0.9" in result["error"]
    assert not list(tmp_path.iterdir())


@pytest.fixture
def bare_cluster(tool, tmp_path):
    """A scheduler file; scheduler and worker are programs of their own, which cannot import the package. The worker's PATH has the
    program."""
    path = tmp_path / "cluster" / "scheduler.json"
    path.parent.mkdir()
    environment = {name: value for name, value in os.environ.items() if name != "PYTHONPATH"}
    environment["PATH"] = os.pathsep.join([os.path.dirname(tool), environment["PATH"]])
    common = {"env": environment, "cwd": path.parent, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    cli = [sys.executable, "-m", "distributed.cli.dask_{}", "--scheduler-file", path, "--no-dashboard"]
    scheduler = subprocess.Popen([str(word).format("scheduler") for word in cli] + ["--port", "0"], **common)
    worker = subprocess.Popen([str(word).format("worker") for word in cli] + ["--nthreads", "1", "--no-nanny"], **common)
    yield path
    for process in (worker, scheduler):
        process.terminate()
        process.wait()


def test_scheduler_and_workers_need_no_package(inputs, run, bare_cluster, tool, tmp_path):
    with distributed.Client(scheduler_file=str(bare_cluster)) as client:
        client.wait_for_workers(1)
        if any(client.run(lambda: bool(importlib.util.find_spec("segmask"))).values()):
            pytest.skip("the package is installed where this Python always finds it")
    output = tmp_path / "out"
    output.mkdir()
    code, results, told = run(write_list(inputs[0], ["000"], output), scheduler=str(bare_cluster))
    assert (code, results["000"]["status"]) == (0, "done"), told
    assert_as_by_one_process(inputs[0], ["000"], output)


@pytest.fixture
def bucket(inputs):
    """A store of objects that is a part of this process, with a list and its inputs, and a cluster of threads that sees it."""
    store = fsspec.filesystem("memory")
    store.store.clear()
    for name in ("000", "001"):
        for end in ("nv12", "jsonl"):
            store.pipe_file(f"/bucket/in/{name}.{end}", (inputs[0] / f"{name}.{end}").read_bytes())
    jobs = [job_of("in", "000", "out"), job_of("memory://bucket/in", "001", "memory://bucket/out")]
    jobs[0].update({"output": "out/000_%04d.png", "contact-sheet": "out/sheet.png"})
    store.pipe_file("/bucket/jobs.jsonl", "\n".join(map(json.dumps, jobs)).encode())
    with distributed.LocalCluster(n_workers=1, threads_per_worker=2, processes=False, dashboard_address=":0") as made:
        yield store, made.scheduler_address
    store.store.clear()


def test_paths_in_a_bucket(inputs, run, bucket, tool):
    store, scheduler = bucket

    def statuses(*options):
        code, results, told = run("memory://bucket/jobs.jsonl", "--program", tool, *options, scheduler=scheduler)
        assert code == 0, told
        assert [results[name]["output"] for name in ("000_%04d", "001")] == [
            "memory://bucket/out/000_%04d.png", "memory://bucket/out/001.nv12"]
        return [results[name]["status"] for name in ("000_%04d", "001")]

    assert statuses() == ["done", "done"]
    assert store.cat_file("/bucket/out/001.nv12") == (inputs[0] / "expected/001.nv12").read_bytes()
    assert sorted(store.ls("/bucket/out", detail=False)) == [f"/bucket/out/{name}" for name in (
        "000_%04d.png.segmask.json", "000_0000.png", "000_0001.png", "001.nv12", "001.nv12.segmask.json", "sheet.png")]
    record = json.loads(store.cat_file("/bucket/out/001.nv12.segmask.json"))
    assert record["inputs"]["input"]["path"] == "memory://bucket/in/001.nv12"
    written = store.modified("/bucket/in/001.nv12").replace(tzinfo=datetime.timezone.utc)
    assert abs(record["inputs"]["input"]["mtime_ns"] - written.timestamp() * 1e9) < 1000
    assert statuses() == ["skipped", "skipped"]
    assert statuses("--redo") == ["done", "done"]

    # Another time, and the same bytes: known by their digest, and from then on by the time.
    store.pipe_file("/bucket/in/001.nv12", store.cat_file("/bucket/in/001.nv12"))
    assert statuses() == ["skipped", "skipped"]
    touched = json.loads(store.cat_file("/bucket/out/001.nv12.segmask.json"))
    assert touched["inputs"]["input"]["mtime_ns"] > record["inputs"]["input"]["mtime_ns"]

    # Other bytes, as many.
    store.pipe_file("/bucket/in/001.nv12", bytes(len(store.cat_file("/bucket/in/001.nv12"))))
    assert statuses() == ["skipped", "done"]
    # Other options.
    store.pipe_file("/bucket/jobs.jsonl", store.cat_file("/bucket/jobs.jsonl").replace(b'"lookback": 1', b'"lookback": 0', 1))
    assert statuses() == ["done", "skipped"]
    # An output that has gone.
    store.rm_file("/bucket/out/000_0001.png")
    assert statuses() == ["done", "skipped"]


def test_an_upload_that_fails_leaves_no_record_and_the_job_is_done_again(run, bucket, tool, monkeypatch):
    """Nor the record of the outputs that it has begun to replace."""
    store, scheduler = bucket
    real = type(store)._open

    def down(system, path, mode="rb", **options):
        if mode == "wb" and path.endswith("/001.nv12"):
            raise OSError("the line is down")
        return real(system, path, mode, **options)

    def statuses(*options):
        code, results, _ = run("memory://bucket/jobs.jsonl", "--program", tool, *options, scheduler=scheduler)
        return code, results["000_%04d"]["status"], results["001"]["status"], results["001"].get("error")

    assert statuses() == (0, "done", "done", None)
    with monkeypatch.context() as patch:
        patch.setattr(type(store), "_open", down)
        assert statuses("--redo", "--retries", 0) == (1, "done", "failed", "OSError: the line is down")
    assert not store.exists("/bucket/out/001.nv12.segmask.json")
    assert statuses() == (0, "skipped", "done", None)


def test_a_file_url_is_a_path(inputs, run, tool, tmp_path):
    path = tmp_path / "jobs.jsonl"
    path.write_text(json.dumps(job_of(f"file://{inputs[0]}", "000", f"file://{tmp_path}")))
    code, results, _ = run(path, "--program", tool)
    assert (code, results["000"]["output"]) == (0, f"{tmp_path}/000.nv12")
    assert_as_by_one_process(inputs[0], ["000"], tmp_path)
