"""What a fork of the warm tool does: it becomes a process as the library would have started it, and runs the tool.

A fork that stays takes one run after the other. It does so only while a run leaves nothing behind that the next one could
notice (see traces); what is left then are the tool's own caches in its classes, which it has in a playlist's entries when
it analyses them in one process by itself.
"""

import _thread
import atexit
import contextlib
import contextvars
import gc
import importlib.util
import os
import shutil
import signal
import sys
import threading

import yt_dlp
from yt_dlp import globals as shared
from yt_dlp_plugins.extractor import _reelhaul_basis as basis
from yt_dlp_plugins.extractor import _reelhaul_link as link
from yt_dlp_plugins.extractor import _reelhaul_load as load

PER_RUN = (b"PATH", b"PYTHONPATH")  # the variables that a run may have otherwise than the resident
PLACE = ("yt_dlp_plugins", "extractor")
MOST_RUNS = 25  # of one fork
MOST_GROWTH = 64 << 20  # bytes


def live(start, status, resident, stays):
    """The fork's life. Does not return."""
    code, runs, loaded = 1, 0, None
    try:
        os.setsid()
        before = (traces(), peak()) if stays else None
        most = 1 if resident.early else MOST_RUNS  # a later fork is quicker than the same again
        while True:
            request, extension = become(start, resident, loaded)
            begin(request.arguments, resident.program)
            yt_dlp._load_all_plugins = plugin_loader(request.arguments, extension if runs == 0 else "")
            if not stays:
                start.close()
            code = contextvars.copy_context().run(work, yt_dlp.main)
            runs, loaded = runs + 1, extension
            if not stays or code != 0 or runs == most or not rest(*before):
                break
            link.say(start, "done")
        code = finish(code)
        link.say(status, f"code {code}")
    except EOFError:
        pass  # the library needs it no more
    except link.Changed as what:
        link.say(start, f"no changed: {what}")
    except BaseException as failure:
        link.say(start, f"no busy: {failure!r}")
    finally:
        os._exit(code)


def become(start, resident, loaded):
    """Takes over the request, up to the library's word that the run may begin; the folder of the run's extension as well."""
    fields, streams = link.receive(start)
    request = link.read(link.Request, fields)
    extension = take_variables(link.variables(request.environment), resident.environment)
    if loaded is not None and (resident.problem() or loaded != extension):
        raise link.Changed(resident.problem() or "the extension")
    null = os.open(os.devnull, os.O_RDONLY)
    for number, target in ((null, 0), *zip(streams, (1, 2), strict=True)):
        os.dup2(number, target)
        os.close(number)
    os.chdir(request.folder)
    os.umask(int(request.mask))
    link.say(start, f"up {os.getpid()}")
    if start.recv(1) != b"g":
        os._exit(0)
    return request, extension


def rest(before, peak_before):
    """Lets go of the run's streams; False where the process is not to be used again."""
    gc.collect()  # writes what is left in files that nothing has closed
    try:
        sys.stdout.flush()
        sys.stderr.flush()
    except (OSError, ValueError):
        return False
    load.Kept.renew()
    if traces() != before or peak() - peak_before > MOST_GROWTH:
        return False
    null = os.open(os.devnull, os.O_WRONLY)
    for target in (1, 2):
        os.dup2(null, target)
    os.close(null)
    return True


def traces():
    """What the next run would notice of the last one."""
    try:
        os.waitpid(-1, os.WNOHANG)
        children = True
    except ChildProcessError:
        children = False
    return (children, _thread._count(), atexit._ncallbacks(), os.listdir("/dev/fd"), sys.stdout, sys.stderr,
            [signal.getsignal(number) for number in signal.valid_signals()], signal.pthread_sigmask(signal.SIG_BLOCK, ()),
            signal.getitimer(signal.ITIMER_REAL), other_variables(os.environb))


def peak():
    """The most memory that the process has had, in bytes; 0 where the tool's Python does not tell."""
    try:
        import resource
    except ImportError:
        return 0
    return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss * (1 if sys.platform == "darwin" else 1024)


def take_variables(wanted, own):
    """Gives the fork the variables of its own; the folder of its extension, where the run has it in front of PYTHONPATH."""
    modules, mine = wanted.get(b"PYTHONPATH", b""), own.get(b"PYTHONPATH", b"")
    extension = modules.removesuffix(mine).removesuffix(b":")
    # The rest was read at the start of the resident, and what came of it is in its memory.
    if other_variables(wanted) != other_variables(own) or modules not in (mine, b":".join(filter(None, (extension, mine)))):
        raise link.Changed("the environment")
    for name in PER_RUN:
        if name in wanted:
            os.environb[name] = wanted[name]
        else:
            os.environb.pop(name, None)
    return os.fsdecode(extension)


def other_variables(environment):
    return {name: value for name, value in environment.items() if name not in PER_RUN}


def begin(arguments, program):
    """What the interpreter and the tool do at each start and the resident has done once."""
    sys.argv = [os.fsdecode(text) for text in arguments]
    sys.orig_argv = [*program, *sys.argv[1:]]
    sys.stdin = sys.__stdin__ = open(0, encoding=sys.stdin.encoding, errors=sys.stdin.errors, closefd=False)
    load.quietly(recognise_programs)
    with contextlib.suppress(AttributeError, KeyError):
        # Each run of the tool introduces itself as another browser.
        headers = sys.modules["yt_dlp.utils.networking"]
        headers.std_headers["User-Agent"] = headers.random_user_agent()
    with contextlib.suppress(AttributeError, KeyError):
        # What the tool tells once is once in each run.
        sys.modules["yt_dlp.utils._utils"].deprecation_warning._cache.clear()
    gc.enable()


def recognise_programs():
    """What is known of ffmpeg under its path is known of the same file where the run finds it in its PATH."""
    tool = yt_dlp.FFmpegPostProcessor
    known = {basis.identity(path): path for path in tool._version_cache if path and os.path.isabs(path)}
    for name in ("ffmpeg", "ffprobe"):
        path = known.get(basis.identity(shutil.which(name) or ""))
        for cache in (tool._version_cache, tool._features_cache):
            if path in cache and path:
                cache[name] = cache[path]


def plugin_loader(arguments, extension):
    """What the tool calls to load plugins: they are there, but for the run's own."""
    def load_plugins():
        if shared.plugin_dirs.value != ["default"]:
            # The user's configuration wants others: this run is better off as a new process.
            os.execve(arguments[0], arguments, os.environb)
        if extension and not hasattr(sys, "frozen"):
            load_extension(extension)

    return load_plugins


def load_extension(folder):
    """Loads it where a run of its own would have found it, behind the program itself."""
    sys.path.insert(1, folder)
    place = os.path.join(folder, *PLACE)
    for file in sorted(os.listdir(place)):
        if file.startswith("reelhaul_") and file.endswith(".py"):
            spec = importlib.util.spec_from_file_location(".".join((*PLACE, file[:-3])), os.path.join(place, file))
            sys.modules[spec.name] = module = importlib.util.module_from_spec(spec)
            spec.loader.exec_module(module)


def work(main):
    """Runs the tool; the exit code."""
    try:
        main()
    except SystemExit as end:
        return exit_code(end.code)
    except KeyboardInterrupt:
        sys.excepthook(*sys.exc_info())
        signal.signal(signal.SIGINT, signal.SIG_DFL)
        os.kill(os.getpid(), signal.SIGINT)
    except BaseException:
        sys.excepthook(*sys.exc_info())
        return 1
    return 0


def exit_code(reason):
    """As the interpreter takes what SystemExit was raised with."""
    if reason is None or isinstance(reason, int):
        return (reason or 0) & 0xff
    print(reason, file=sys.stderr)
    return 1


def finish(code):
    """What the interpreter does at its end; the exit code."""
    threading._shutdown()
    atexit._run_exitfuncs()
    gc.collect()  # writes what is left in files that nothing has closed
    for stream in (sys.stdout, sys.stderr):
        try:
            stream.flush()
        except (OSError, ValueError):
            code = 120
    return code
