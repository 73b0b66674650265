"""Loads what runs of the tool need and fills what they remember, a step at a time.

All of it makes a run sooner and none of it another: a part that the tool has no more, or has in another way, is left.
"""

import contextlib
import contextvars
import copy
import functools
import gc
import io
import json
import os
import re
import select
import subprocess
import sys
import tempfile
import time

import yt_dlp

NOWHERE = "http://127.0.0.1:9/"
EXTRACTORS_AT_ONCE = 40
LOADED = "loaded"
LOOK = 0.005  # seconds in which no request is taken


def steps(locations):
    """Each step is short, since a request that comes meanwhile waits for it. `locations` are where ffmpeg may be.

    Gives LOADED once all is there that each run needs. What follows spares the runs that ask all extractors.
    """
    for change in (keep_patterns, remove_duplicates_sooner, keep_context, make_tables_when_printed):
        quietly(change)
    asked = quietly(ask, locations) or []
    yield
    classes = quietly(lambda: yt_dlp.extractor.gen_extractor_classes()) or []
    yield
    for one in classes[-1:]:  # the generic one, with all that it imports
        quietly(lambda: one.real_class)
    yield
    quietly(open_nothing)
    yield
    quietly(lambda: yt_dlp.utils.system_identifier())
    while any(program.poll() is None for _, program in asked):
        time.sleep(LOOK)
        yield
    quietly(learn_programs, locations, asked)
    yield
    quietly(choose_formats, locations[0])
    yield
    quietly(make_parser_ahead)
    quietly(list_extractors_ahead)
    quietly(Kept.renew)
    yield LOADED
    survey = quietly(Survey, classes)
    for begin in range(0, len(classes), EXTRACTORS_AT_ONCE):
        yield
        for one in classes[begin:begin + EXTRACTORS_AT_ONCE]:
            quietly(one.suitable, NOWHERE)
    while quietly(lambda: survey.over()) is False:
        yield
    for one in quietly(lambda: survey.of_use()) or ():
        yield
        quietly(ask_about_page, one)
    yield
    quietly(read_page)
    quietly(Kept.renew)
    yield
    gc.collect()


def quietly(function, *arguments):
    """Calls it with the streams shut, and without a trace in what runs find set. No failure is one of the resident's."""
    streams = sys.stdout, sys.stderr
    sys.stdout, sys.stderr = io.StringIO(), io.StringIO()
    try:
        return contextvars.copy_context().run(function, *arguments)
    except (Exception, SystemExit):
        return None
    finally:
        sys.stdout, sys.stderr = streams


def keep_patterns():
    """Asking all extractors compiles some thousand patterns, more than the interpreter keeps by itself."""
    re._MAXCACHE = 100_000


def remove_duplicates_sooner():
    """An equal answer without comparing each with each."""
    slow = yt_dlp.utils.orderedSet

    def fast(iterable, *, lazy=False):
        if lazy:
            return slow(iterable, lazy=True)
        items = list(iterable)
        try:
            return list(dict.fromkeys(items))
        except TypeError:
            return slow(items)

    replace_everywhere("orderedSet", slow, fast)


def replace_everywhere(name, before, after):
    """In all modules that have imported it by its name."""
    for module in list(sys.modules.values()):
        # Not getattr: some of the tool's modules import others when they are asked.
        if vars(module).get(name) is before:
            vars(module)[name] = after


TABLES = ("render_formats_table", "render_thumbnails_table", "render_subtitles_table")


def make_tables_when_printed():
    """What a template may print of an item. The tool makes it whether there is a template or not, four times in a run."""
    tool = yt_dlp.YoutubeDL
    prints = tool._forceprint
    for name in TABLES:
        getattr(tool, name)

    def prints_sooner(self, key, info):
        if self.params["forceprint"].get(key) or self.params["print_to_file"].get(key):
            return prints(self, key, info)
        for name in TABLES:
            setattr(self, name, lambda *_: None)
        try:
            return prints(self, key, info)
        finally:
            for name in TABLES:
                delattr(self, name)

    tool._forceprint = prints_sooner


# ---- what the tool asks ffmpeg and ffprobe in each run ----


def programs(locations):
    """The paths under which the tool keeps what it knows of them, for each option that names ffmpeg."""
    for location in filter(None, locations):
        yt_dlp.FFmpegPostProcessor._ffmpeg_location.set(location)
        yield from yt_dlp.FFmpegPostProcessor()._paths.values()


def ask(locations):
    """Asks without waiting for the answers, which take long."""
    commands = [[path, "-bsfs"] for path in dict.fromkeys(programs(locations))]
    return [(command, subprocess.Popen(command, text=True, encoding="utf-8", errors="replace", stdin=subprocess.DEVNULL,
                                       stdout=subprocess.PIPE, stderr=subprocess.STDOUT)) for command in commands]


@contextlib.contextmanager
def answers(asked):
    """Has the tool find the answers instead of asking."""
    tool = yt_dlp.utils._utils.Popen
    run = tool.__dict__["run"]
    known = {tuple(command): (program.communicate()[0], "", program.returncode) for command, program in asked}

    def play_back(cls, command, *arguments, **options):
        return known.get(tuple(command)) or run.__get__(None, cls)(command, *arguments, **options)

    tool.run = classmethod(play_back)
    try:
        yield
    finally:
        tool.run = run


def learn_programs(locations, asked):
    with answers(asked):
        for location in filter(None, locations):
            yt_dlp.FFmpegPostProcessor._ffmpeg_location.set(location)
            yt_dlp.FFmpegPostProcessor.get_versions()


# ---- one run, and what each run makes anew ----


class Kept:
    """A thing that each run makes for itself, equal each time: a run gets the one that is there, once.

    In a process that stays so does the next run: `renewed` makes the thing what it was at first, or tells that it can't.
    """

    everything = []

    def __init__(self, thing, renewed):
        self.thing, self.renewed, self.free = thing, renewed, True
        Kept.everything.append(self)

    def take(self):
        """None where the run has it already."""
        free, self.free = self.free, False
        return self.thing if free else None

    @staticmethod
    def renew():
        """The last run is over."""
        for one in Kept.everything:
            one.free = bool(quietly(one.renewed, one.thing))


def keep_context():
    """What secures connections. Reading the system's certificates for it is the longest part of a short run."""
    from yt_dlp.networking import _helper

    make, kept = _helper.make_ssl_context, {}

    def look(context):
        names = ("options", "verify_mode", "verify_flags", "check_hostname", "minimum_version", "maximum_version", "post_handshake_auth",
                 "keylog_filename", "hostname_checks_common_name", "num_tickets", "sni_callback")
        return [getattr(context, name, None) for name in names], context.cert_store_stats(), len(context.get_ciphers())

    def make_context(*arguments, **settings):
        # Another setting may be a secret, or one that changes the context by more than its own value.
        plain = not arguments and settings.keys() <= {"verify", "legacy_support", "use_certifi"} and "SSLKEYLOGFILE" not in os.environ
        if not plain or not settings.get("verify", True):  # without a look at certificates it takes no time
            return make(*arguments, **settings)
        key = tuple(sorted(settings.items()))
        context = key in kept and kept[key].take()
        if not context:
            context = make(**settings)
        if key not in kept:
            before = look(context)
            kept[key] = Kept(context, lambda one: look(one) == before)
            kept[key].take()
        return context

    replace_everywhere("make_ssl_context", make, make_context)


def choose_formats(location):
    """A whole run with what makes the tool choose among formats, but for the network."""
    common = {"url": NOWHERE, "protocol": "http"}
    document = {"id": "0", "title": "0", "extractor": "generic", "extractor_key": "Generic", "webpage_url": NOWHERE, "formats": [
        {**common, "format_id": "1", "ext": "mp4", "vcodec": "avc1", "acodec": "none", "width": 16, "height": 9},
        {**common, "format_id": "2", "ext": "m4a", "vcodec": "none", "acodec": "mp4a"}]}
    # In the library's own folder: what a kill leaves there goes with it.
    with tempfile.NamedTemporaryFile("w", dir=os.path.dirname(os.path.abspath(__file__)), encoding="utf-8") as file:
        json.dump(document, file)
        file.flush()
        yt_dlp.main(["--ignore-config", "-J", "--load-info-json", file.name, "--ffmpeg-location", location])


def open_nothing():
    """What opens addresses, with all that it imports, on one that needs no network."""
    with yt_dlp.YoutubeDL({"quiet": True}) as tool:
        tool.urlopen("data:,").close()


def make_parser_ahead():
    """The parser of the options, which a run makes once."""
    from yt_dlp import options

    make = options.create_parser
    parser = make()
    parser.destroy = lambda: None  # the tool does so at the end of a run
    names, values = (dict(parser._long_opt), dict(parser._short_opt)), copy.deepcopy(parser.defaults)
    # The tool goes on to fill some of those that an option would have filled.
    filled = {name: value for name, value in values.items() if copy.deepcopy(value) is not value}

    def renewed(one):
        one.values = one.rargs = one.largs = None
        one.defaults.clear()
        one.defaults.update(values | copy.deepcopy(filled))
        return (one._long_opt, one._short_opt) == names  # a configuration may bring new ones

    kept = Kept(parser, renewed)
    options.create_parser = lambda: kept.take() or make()


class Table(dict):
    """Remembers what stood under a name that a run sets, and whether it was changed in another way."""

    def __init__(self, *arguments):
        super().__init__(*arguments)
        self.before, self.size, self.spoiled = {}, len(self), False

    def __setitem__(self, name, value):
        self.before.setdefault(name, self.get(name))
        super().__setitem__(name, value)

    def spoil(self, name, *arguments, **more):
        self.spoiled = True
        return getattr(dict, name)(self, *arguments, **more)

    def renewed(self):
        for name, value in self.before.items():
            if value is None:
                super().pop(name, None)
            else:
                super().__setitem__(name, value)
        self.before.clear()
        return len(self) == self.size and not self.spoiled


for change in ("__delitem__", "__ior__", "clear", "pop", "popitem", "setdefault", "update"):
    setattr(Table, change, functools.partialmethod(Table.spoil, change))


def list_extractors_ahead():
    """The table of the extractors, which a run makes once, of the same classes each time."""
    tool = yt_dlp.YoutubeDL
    make = tool.add_default_info_extractors
    with tool({"quiet": True}) as example:
        kinds = {name: type(instance) for name, instance in example._ies_instances.items()}
        classes = {**example._ies, **kinds}
    kept = Kept(Table(classes), Table.renewed)

    def add(self):
        plain = self.params.get("allowed_extractors", ["default"]) == ["default"] and not self.params.get("verbose")
        if not plain or self._ies or self._ies_instances:
            return make(self)
        # Another one touches all classes, and so copies the memory that a fork shares.
        self._ies = kept.take() or dict(classes)
        self._ies_instances = {name: kind() for name, kind in kinds.items()}
        for name, instance in self._ies_instances.items():
            self._ies[name] = instance
            instance.set_downloader(self)
        return None

    tool.add_default_info_extractors = add


# ---- pages of no known site ----


class Survey:
    """Finds the extractors that look for their own players in other sites' pages.

    For a page of no known site the tool asks all of them, and so loads all, though nine in ten have no answer to any page.
    To find that out takes the memory of all, so that a process of its own does it.
    """

    def __init__(self, classes):
        from yt_dlp.extractor import lazy_extractors  # where there are none, all are loaded

        self.classes = [one for one in classes if issubclass(one, lazy_extractors.LazyLoadExtractor)]
        self.told = b""
        self.reading, writing = os.pipe()
        self.child = os.fork()
        if self.child == 0:
            code = 1
            try:
                for number in map(int, os.listdir("/dev/fd")):
                    if number > 2 and number != writing:
                        with contextlib.suppress(OSError):
                            os.close(number)
                with open(writing, "w", encoding="ascii") as file:
                    file.write(" ".join(one.__name__ for one in self.classes if quietly(lambda: looks_nowhere(one.real_class))))
                code = 0
            finally:
                os._exit(code)
        os.close(writing)

    def over(self):
        if not select.select([self.reading], [], [], LOOK)[0]:
            return False
        part = os.read(self.reading, 1 << 16)
        self.told += part
        if part:
            return False
        os.close(self.reading)
        if os.waitpid(self.child, 0)[1] != 0:
            self.told = b""
        return True

    def of_use(self):
        """Those that may have an answer. The others answer from now on without being loaded."""
        useless = set(self.told.decode().split())
        for one in self.classes:
            if one.__name__ in useless:
                one.extract_from_webpage = classmethod(lambda cls, tool, url, page: iter(()))
        return [one for one in self.classes if one.__name__ not in useless] if useless else []


def looks_nowhere(extractor):
    """Whether it has no more to look for players than what all have, and no pattern of any."""
    def plain(name):
        mine, common = getattr(extractor, name), getattr(yt_dlp.extractor.common.InfoExtractor, name)
        return getattr(mine, "__func__", mine) is common.__func__

    return not extractor._EMBED_REGEX and all(map(plain, ("extract_from_webpage", "_extract_from_webpage", "_extract_embed_urls")))


def ask_about_page(extractor):
    """Loads it, with its patterns."""
    with yt_dlp.YoutubeDL({"quiet": True}, auto_init=False) as tool:
        list(extractor.extract_from_webpage(tool, NOWHERE, ""))


def read_page():
    with yt_dlp.YoutubeDL({"quiet": True}) as tool:
        tool.extract_info("data:text/html,<title>0</title>", download=False)
