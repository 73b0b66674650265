"""What outlives a disaster: the application killed at any moment, a full disk, a folder that goes away.

REELHAUL_TEST_SCALE is the share of 200 kills that are done, a twentieth unless set.
"""

import os
import random
import shutil
import subprocess
import tempfile
import time
from pathlib import Path

from servers import COMMAND, ServerTest, probe

class DisasterTest(ServerTest):
    def setUp(self):
        super().setUp()
        self.out = self.folder / "out"
        self.out.mkdir()
        self.environment = self.environment_of_command()

    def get_command(self, *arguments):
        return [COMMAND, "get", "--quiet", "--no-continue", "-o", self.out, *arguments]


class KillTest(DisasterTest):
    def test_at_random_moments(self):
        # Where there is another file system, a finished file has to be copied to it.
        self.out = Path(tempfile.mkdtemp(dir="/dev/shm" if Path("/dev/shm").is_dir() else self.folder))
        self.addCleanup(shutil.rmtree, self.out)
        pages = [self.page(name) for name in ("merged-mp4", "combined", "dash", "two-languages")]
        command = self.get_command("--jobs", "3", *pages)
        begin = time.monotonic()
        subprocess.run(command, env=self.environment, check=True, stdout=subprocess.DEVNULL)
        whole = time.monotonic() - begin
        seed, finished = random.randrange(1 << 32), 0
        moments = random.Random(seed)
        kills = max(3, round(200 * float(os.environ.get("REELHAUL_TEST_SCALE", 0.05))))
        for number in range(kills):
            for file in self.out.glob("[!.]*"):
                file.unlink()
            with subprocess.Popen(command, env=self.environment, stdout=subprocess.DEVNULL,
                                  stderr=subprocess.DEVNULL) as process:
                time.sleep(moments.uniform(0, whole))
                process.kill()
            self.wait_until(lambda: not self.processes())
            files = list(self.out.glob("[!.]*"))
            finished += len(files)
            for file in files:
                self.assertEqual(probe(file), "video audio 8", f"{file} after kill {number} of seed {seed}")
        for file in self.out.glob(".*"):
            self.assertRegex(file.name, r"^\.reelhaul-[0-9a-z]{12}\.part$")
            os.utime(file, (0, 0))  # as if some minutes had passed
        print(f"{kills} kills within {whole:.1f} s, {finished} whole files (seed {seed})")
        # The next one that makes a temporary folder removes what the killed ones left, or brings it home; the next one
        # that uses the folder removes the halves in it.
        subprocess.run(self.get_command(pages[1]), env=self.environment, check=True, stdout=subprocess.DEVNULL)
        self.assertEqual([path for path in self.temporary.rglob("*") if path.is_file()], [])
        self.assertEqual(list(self.out.glob(".*")), [])
        for file in self.out.iterdir():
            self.assertEqual(probe(file), "video audio 8")


class SmallDiskTest(DisasterTest):
    """Where the temporary folder and the files' are two disks: downloads that keep nothing."""

    OWN_MOUNTS = ["unshare", "-m", *([] if os.geteuid() == 0 else ["-r"])]

    def run_on_small_disk(self, folder, kibibytes, *command, fill=""):
        """Runs a command while the folder is a file system of its own; then prints what is there."""
        script = f'mount -t tmpfs -o size={kibibytes}k none "$1"; at=$1; shift\n{fill}\n"$@"; status=$?\n' \
                 'find "$at" -type f -exec echo left {} +; exit $status'
        # A chroot or a container may not have mounts of its own.
        refusal = subprocess.run([*self.OWN_MOUNTS, "true"], text=True, capture_output=True).stderr
        if refusal:
            self.skipTest(f"no small disk can be mounted here: {refusal.strip()}")
        return subprocess.run([*self.OWN_MOUNTS, "sh", "-c", script, "sh", folder, *command], env=self.environment,
                              text=True, capture_output=True, timeout=120)

    def test_no_room_for_the_download_or_its_merge(self):
        # The last one has room for the parts and for all but the end of the whole: ffmpeg itself calls that a success.
        for page, code, kibibytes in (("direct/large.mp4", "best", 4096), ("watch/merged-mp4", "best", 420),
                                      ("watch/merged-mp4", "video320mp4+audio-en", 1488)):
            with self.subTest(page, kibibytes=kibibytes):
                run = self.run_on_small_disk(self.temporary, kibibytes, *self.get_command("--format", code, f"{self.site.address}/{page}"))
                self.assertEqual(run.returncode, 1, run.stderr)
                self.assertIn("No space left on device", run.stderr)
                self.assertEqual(run.stdout, "")
                self.assertEqual(list(self.out.iterdir()), [])

    def test_no_folder_for_what_is_under_way(self):
        # A folder that takes nothing is named; what is none is passed over, as a relative one is.
        for folder, status, words in (("/proc", 1, '^reelhaul: .*Can\'t make a temporary folder in "/proc".*\\n$'),
                                      (__file__, 0, "^"), ("/none", 0, "^")):
            run = subprocess.run(self.get_command(self.page("combined")), env={**self.environment, "TMPDIR": folder}, text=True,
                                 capture_output=True)
            self.assertEqual(run.returncode, status, run.stderr)
            self.assertRegex(run.stderr, words)

    def test_no_room_where_the_file_goes(self):
        run = self.run_on_small_disk(self.out, 64, *self.get_command(self.page("combined")), fill='echo mine >"$at/mine"')
        self.assertEqual(run.returncode, 1, run.stderr)
        self.assertIn("no space is left there", run.stderr)
        self.assertEqual(run.stdout, f"left {self.out}/mine\n")
        kept = Path(run.stderr.split('The file stays at "')[1].split('"')[0])
        self.assertEqual(probe(kept), "video audio 8")

    def test_no_room_for_the_settings(self):
        folder = self.folder / "settings-disk"
        folder.mkdir()
        self.environment["REELHAUL_SETTINGS"] = str(folder / "settings.json")
        run = self.run_on_small_disk(folder, 64, "sh", "-c", '"$1" tools use built-in; echo $?; cat "$2/settings.json"',
                                     "sh", COMMAND, folder, fill='echo mine >"$at/settings.json"; cat /dev/zero >"$at/full" 2>/dev/null')
        self.assertEqual(run.stdout.splitlines()[:2], ["1", "mine"])
        self.assertIn("Can't write the settings", run.stderr)

    def test_the_folder_goes_away_or_is_closed(self):
        for what, change in (("gone", Path.rmdir), ("closed", lambda path: path.chmod(0o500))):
            with self.subTest(what):
                self.out.mkdir(exist_ok=True)
                command = self.get_command(self.page("combined?media.rate=150000"))
                if os.geteuid() == 0:  # may write everywhere, unless it gives that up
                    command = ["setpriv", "--bounding-set=-dac_override", *command]
                with subprocess.Popen(command, env={**self.environment, "HOME": str(self.folder)}, text=True,
                                      stderr=subprocess.PIPE, stdout=subprocess.PIPE) as process:
                    while process.poll() is None and not list(self.temporary.rglob("*.part")):
                        time.sleep(0.01)
                    change(self.out)
                    words = process.stderr.read()
                self.assertEqual(process.returncode, 1, words)
                kept = Path(words.split('The file stays at "')[1].split('"')[0])
                self.assertEqual(probe(kept), "video audio 8")
