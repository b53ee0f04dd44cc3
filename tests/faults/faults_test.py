"""A selection of what scripts/try-faults does: programs bear it when a call of theirs fails, and the injector
knows all calls of theirs that can.

Room: tests.

usage: faults_test.py SETTINGS_JSON CASE
"""

import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

import faults  # noqa: E402

SOURCE = pathlib.Path(__file__).resolve().parents[2]
SETTINGS = json.loads(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"))
MOST = 3  # calls of each kind

# What programs import of libc and is not made to fail, and why not.
CANNOT_FAIL = """
    abort exit _exit __cxa_atexit __cxa_finalize __libc_start_main __errno_location __stack_chk_fail
    getpid geteuid getenv secure_getenv clock_gettime nanosleep sched_yield gmtime_r umask isatty fileno dirfd raise kill
    signal sigaction sigemptyset sigfillset sigprocmask pthread_sigmask prctl
    free memchr memcmp memcpy memmove memset strchr strcmp strlen strncmp strspn strstr strerror strsignal
    tolower isalnum isspace __ctype_get_mb_cur_max
    strtod strtof strtol strtold strtoll strtoul strtoull
    __isoc23_strtol __isoc23_strtoll __isoc23_strtoul __isoc23_strtoull isprint strerror_r
    snprintf sprintf vsnprintf inet_ntop inet_pton lround
    ferror closedir dlclose dlerror dladdr pthread_self pthread_once pthread_mutex_lock pthread_mutex_unlock
    pthread_cond_wait pthread_cond_broadcast pthread_cond_clockwait pthread_timedjoin_np
    __pthread_key_create __tls_get_addr _dl_find_object
    __register_atfork __sysv_signal __libc_single_threaded __gmon_start__ munmap close_range closefrom
    stdin stdout stderr syscall ioctl utimensat
    __memcpy_chk __snprintf_chk __vsnprintf_chk
    perror dlsym
""".split()  # the last two: of a complaint nothing is left to be said, and dlsym looks at who calls it
# Of libc's names that libstdc++ brings along where it is linked into a library, and that ours never call:
# locales, wide characters, files of other kinds. And what allocates inside of libc, which counts.
UNUSED = re.compile(r"_ITM_|_Unwind|__(dup|free|new|use)locale|__.*_l$|strtold_l$|.*w(c|s|mem)|mb|btowc|iconv|"
                    r"(bind)?_?textdomain|bind_textdomain_codeset|d?gettext|setlocale|setvbuf|__assert_fail|"
                    r"arc4random|seek|l?seek|fseeko64|ftello64|lseek64|ungetc|strdup|setenv|if_indextoname")


class Faults(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="mesh-fib6-faults.")
        self.addCleanup(folder.cleanup)
        self.addCleanup(setattr, tempfile, "tempdir", tempfile.tempdir)
        tempfile.tempdir = folder.name
        self.trial = faults.Trial(SETTINGS["build"], SETTINGS["injector"])

    def bears(self, *names, most=MOST):
        for name in names:
            table, found = faults.sweep(self.trial, name, most)
            self.assertEqual(found, [], name)
            tried = sum(kind[faults.SURVIVED] + kind[faults.REFUSED] for kind in table.values())
            self.assertGreater(tried, 5, name)

    def test_TheToolBearsCallsThatFail(self):
        self.bears("tool encode", "tool decode", "tool diff", "tool explain", "tool capture", "tool bench",
                   "tool completion", "tool manual", "tool random", "tool describe")

    def test_TheToolsLookAtTheHostBearsCallsThatFail(self):
        self.bears("tool host status")

    def test_ExamplesBearCallsThatFail(self):
        self.bears("send_route", "receive_routes", "synchronise", "decode_buffer", "decode_buffer_cpp", "own_host",
                   "decode_buffer.py", "send_route.py", most=2)

    def test_TheTapSaysWhatItsFileLacks(self):
        name = "send_route with the tap"
        table, found = faults.sweep(self.trial, name, wanted=("open", "write", "resize", "map", "thread"))
        self.assertEqual(found, [])
        self.assertGreater(table["write"][faults.REFUSED], 4, table)

    def test_TheDemoBearsCallsThatFail(self):
        self.bears("fib6-sender", "fib6-service", "fib6-peer", most=1)

    def test_ASweepThatIsInterruptedLeavesNothing(self):
        folder = pathlib.Path(tempfile.tempdir)
        for scenario in ("tool host down", "fib6-demo"):  # a server, and processes that start processes
            sweep = subprocess.Popen([SOURCE / "scripts/try-faults", "--build", SETTINGS["build"], "--jobs", "3",
                                      scenario],
                                     stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True,
                                     env={**os.environ, "TMPDIR": str(folder)})
            deadline = time.monotonic() + 30
            while len(faults.servers_of(folder)) < 2 and time.monotonic() < deadline:
                time.sleep(0.01)
            time.sleep(1)
            sweep.terminate()
            _, errors = sweep.communicate(timeout=60)
            self.assertEqual((sweep.returncode, errors), (143, "try-faults: interrupted\n"), scenario)
            self.assertEqual(faults.servers_of(folder), [], scenario)
            self.assertEqual(list(folder.iterdir()), [], scenario)

    def test_AFailureThatIsHiddenIsNoticed(self):
        calm = faults.End(0, "", b"all of it")
        for end, expected in ((faults.End(0, "", b"all of it"), faults.SURVIVED),
                              (faults.End(1, "no room\n", b"a part"), faults.REFUSED),
                              (faults.End(0, "no room\n", b"a part"), "says that all is well, and it is not"),
                              (faults.End(1, " \n", b""), "exit status 1 without a word"),
                              (faults.End(-6, "", b""), "killed by SIGABRT"),
                              (faults.End(139, "", b""), "killed by SIGSEGV"),
                              (faults.End(None, "", b""), "does not end")):
            self.assertTrue(faults.judged(end, calm, 1, -1).startswith(expected), (end, expected))
        self.assertEqual(faults.judged(faults.End(1, "", b""), calm, 1, 2), faults.REFUSED)  # it has no voice
        self.assertEqual(faults.judged(calm, calm, 0, -1), faults.MISSED)
        # A library of others may die of its own allocations; it may not make us lie.
        for end, library, expected in ((faults.End(-11, "", b""), "libnats.so.3.4", faults.THEIRS),
                                       (faults.End(None, "", b""), "libcrypto.so.3", faults.THEIRS),
                                       (faults.End(-11, "", b""), "libtolvimesh.so", "killed by SIGSEGV"),
                                       (faults.End(0, "", b"a part"), "libnats.so.3.4", "says that all is well"),
                                       (faults.End(1, "", b""), "libnats.so.3.4", "exit status 1 without")):
            self.assertTrue(faults.judged(end, calm, 1, -1, library).startswith(expected), (end, library))
        self.assertTrue(faults.judged(faults.End(1, "x", b""), calm, 0, -1).startswith("without a failure"))

    def test_EveryCallOfLibcThatCanFailIsKnown(self):
        def names(path, *options):
            listing = subprocess.run(["nm", "-D", *options, path], capture_output=True, text=True, check=True).stdout
            return {line.split()[-1].partition("@")[0] for line in listing.splitlines() if "@GLIBC_" in line
                    or options == ("--defined-only",)}

        made_to_fail = names(SETTINGS["injector"], "--defined-only")
        self.assertIn("write", made_to_fail)
        left = {}
        for path in SETTINGS["programs"]:
            for name in names(path, "--undefined-only") - made_to_fail - set(CANNOT_FAIL):
                if not UNUSED.match(name):
                    left.setdefault(name, []).append(pathlib.Path(path).name)
        self.assertEqual(left, {})


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *(f"Faults.test_{case}" for case in sys.argv[2:])])
