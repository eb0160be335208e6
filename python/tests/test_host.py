"""Host processes that end or hang, and calls that you cancel."""

from __future__ import annotations

import contextlib
import os
import pathlib
import signal
import subprocess
import sys
import threading
import time
from typing import Callable, Iterator

import orvane
import pytest
from material import VOICE, WAYS, hosts, same, voice_inputs

pytestmark = pytest.mark.timeout(120)


def host_that_may_hang(folder: pathlib.Path) -> tuple[pathlib.Path, pathlib.Path]:
    """Returns a host program, and a file: while the file exists, new host processes hang before they load a model."""
    program, hang = folder / "orvane_host", folder / "hang"
    real = pathlib.Path(orvane.__file__).parent / "bin" / "orvane_host"
    program.write_text(f"#!/bin/sh\nwhile [ -e {hang} ]; do sleep 0.1; done\nexec {real} \"$@\"\n")
    program.chmod(0o700)
    return program, hang


def test_run_raises_until_a_restart_after_the_host_process_was_killed() -> None:
    inputs = voice_inputs()
    with orvane.Model(VOICE, host=True) as model:
        expected = model.run(*inputs)
        os.kill(hosts()[0], signal.SIGKILL)
        for _ in range(2):
            with pytest.raises(orvane.HostEnded, match="SIGKILL") as caught:
                model.run(*inputs)
            assert caught.value.reason is orvane.Reason.HOST_ENDED and caught.value.cause is orvane.HostEnd.SIGNAL
            assert "host process ended" in repr(model)
        model.restart()
        assert same(model.run(*inputs), expected)


def test_run_retries_in_a_new_host_process() -> None:
    inputs = voice_inputs()
    with orvane.Model(VOICE, host=True, retries=1) as model:
        expected = model.run(*inputs)
        for _ in range(3):
            os.kill(hosts()[0], signal.SIGKILL)
            assert same(model.run(*inputs), expected)


@pytest.mark.parametrize("how", ["time_limit", "interrupt"])
def test_limit_and_interrupt_end_a_hanging_host_process(how: str) -> None:
    inputs = voice_inputs()
    limit = 1.0 if how == "time_limit" else None
    with orvane.Model(VOICE, host=True, time_limit=limit, load_time_limit=60, retries=3) as model:
        os.kill(hosts()[0], signal.SIGSTOP)
        caught: list[orvane.HostEnded] = []

        def run() -> None:
            try:
                model.run(*inputs)
            except orvane.HostEnded as error:
                caught.append(error)

        waiting = threading.Thread(target=run, daemon=True)
        waiting.start()  # the call releases the interpreter: otherwise this thread would stop here
        if how == "interrupt":
            while "S" not in pathlib.Path(f"/proc/{os.getpid()}/task/{waiting.native_id}/stat").read_text().split()[2]:
                pass
            model.interrupt()
        waiting.join(60)
        wanted = orvane.HostEnd.TIME_LIMIT if how == "time_limit" else orvane.HostEnd.INTERRUPTED
        assert [error.cause for error in caught] == [wanted]
        assert hosts() == []
        model.restart()
        assert "in a host process" in repr(model)
    assert "closed" in repr(model)


def test_retries_share_one_time_limit_and_one_interrupt(tmp_path: pathlib.Path) -> None:
    inputs = voice_inputs()
    program, hang = host_that_may_hang(tmp_path)
    seen: set[int] = set()

    def end_new_hosts(then: Callable[[int], object]) -> None:
        while not done.wait(0.01):
            for host in set(hosts()) - seen:
                seen.add(host)
                then(host)

    def kill(host: int) -> None:
        time.sleep(0.6)
        with contextlib.suppress(ProcessLookupError):  # the time limit may end it first
            os.kill(host, signal.SIGKILL)

    with orvane.Model(VOICE, host=program, time_limit=1, load_time_limit=60, retries=60) as model:
        for then, causes in ((kill, {orvane.HostEnd.SIGNAL, orvane.HostEnd.TIME_LIMIT}),
                             (lambda _: model.interrupt(), {orvane.HostEnd.INTERRUPTED})):
            hang.unlink(missing_ok=True)
            model.restart()
            seen.update(hosts())
            hang.touch()  # the next host processes hang while they load the model
            os.kill(hosts()[0], signal.SIGKILL)
            done = threading.Event()
            hanging = threading.Thread(target=end_new_hosts, args=(then,), daemon=True)
            hanging.start()
            start = time.monotonic()
            with pytest.raises(orvane.HostEnded) as caught:
                model.run(*inputs)
            done.set()
            hanging.join(60)
            assert caught.value.cause in causes and time.monotonic() - start < 30


@pytest.fixture(name="terminal")
def react_to_ctrl_c() -> Iterator[None]:
    """Makes Ctrl-C work as in a terminal. A program that a script starts in the background ignores the signal."""
    earlier = signal.signal(signal.SIGINT, signal.default_int_handler)
    yield
    signal.signal(signal.SIGINT, earlier)


@pytest.mark.usefixtures("terminal")
@pytest.mark.parametrize("call", ["load", "restart", "run", "load_pool", "map"])
def test_ctrl_c_ends_the_wait_for_a_host_process(tmp_path: pathlib.Path, call: str) -> None:
    inputs = tuple(voice_inputs())
    program, hang = host_that_may_hang(tmp_path)
    start = time.monotonic()

    def hang_now() -> None:
        hang.touch()
        for host in hosts():
            os.kill(host, signal.SIGSTOP)
        threading.Timer(0.3, os.kill, (os.getpid(), signal.SIGINT)).start()

    if call.startswith("load"):
        hang_now()
    with pytest.raises(KeyboardInterrupt):
        if call in ("load_pool", "map"):
            with orvane.Pool(VOICE, 2, host=program, retries=3) as pool:
                hang_now()
                list(pool.map([inputs] * 4))
        else:
            with orvane.Model(VOICE, host=program, retries=3) as model:
                hang_now()
                model.restart() if call == "restart" else model.run(*inputs)
    assert time.monotonic() - start < 15
    assert hosts() == []


@WAYS
def test_progress_callback_sees_each_step_and_can_cancel(host: bool) -> None:
    steps: list[orvane.LoadStep] = []

    def cancel(step: orvane.LoadStep) -> None:
        raise ValueError(f"enough after {step.name}")

    with orvane.Model(VOICE, host=host, progress=steps.append):
        step = orvane.LoadStep
        assert ({step.STARTING_HOST, step.IN_HOST} if host else {step.READING, step.COMPILING}) <= set(steps)
    with pytest.raises(ValueError, match="enough after (STARTING_HOST|READING)"):
        orvane.Model(VOICE, host=host, progress=cancel)


def test_callback_can_interrupt_but_cannot_call_the_model() -> None:
    inputs = voice_inputs()
    calls: list[Callable[[], object]] = []
    model = orvane.Model(VOICE, host=True, progress=lambda step: [call() for call in calls])
    for call, error in ((model.interrupt, orvane.HostEnded), (model.close, RuntimeError), (model.restart, RuntimeError),
                        (lambda: model.run(*inputs), RuntimeError)):
        os.kill(hosts()[0], signal.SIGSTOP)
        calls.append(call)
        with pytest.raises(error, match="interrupt"):
            model.run(*inputs)
        calls.clear()
        model.restart()
    model.close()


@WAYS
def test_forked_process_cannot_use_the_model_of_its_parent(host: bool) -> None:
    inputs = voice_inputs()
    with orvane.Model(VOICE, host=host) as model:
        expected = model.run(*inputs)
        child = os.fork()
        if child == 0:
            ended = 1
            try:
                model.run(*inputs)
            except RuntimeError as error:
                ended = 0 if "fork" in str(error) else 2
            model.close()
            os._exit(ended)
        assert os.waitpid(child, 0)[1] == 0
        assert same(model.run(*inputs), expected)


@pytest.mark.parametrize("loop", ["while True: orvane.Model(path, host=True)", "while True: model.run(*inputs)",
                                  "os.kill(host, signal.SIGSTOP); model.run(*inputs)"],
                         ids=["load", "run", "hang"])
def test_daemon_thread_may_use_a_model_when_the_program_ends(loop: str) -> None:
    program = f"""
import os, signal, sys, threading, time
sys.path.insert(0, {os.path.dirname(__file__)!r})
import material, orvane
path, inputs = material.VOICE, material.voice_inputs()
model = orvane.Model(path, host=True)
[host] = material.hosts()
def work():
    {loop}
threading.Thread(target=work, daemon=True).start()
time.sleep(0.5)
"""
    done = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True, timeout=60, check=False)
    assert (done.returncode, done.stderr) == (0, "")
