#!/usr/bin/env python3
"""Tests ./run as a new user calls it: with packages missing and with unknown commands.

    run_test.py [TOOL]

A copy of ./run gets fake programs for installing, building and testing, which record how they were
called. TOOL is the built tool: ./run must know its commands.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
TOOL = sys.argv.pop(1) if sys.argv[1:] and not sys.argv[1].startswith("-") else None

# The programs that every system has.
PLAIN = """awk basename bash cat comm cut dirname env find git grep head id ldconfig mkdir nproc
           printf python3 readlink realpath rm rmdir sed sort stat tail tput tr true uname wc
           xargs""".split()
NOBODY = 65534

# Records each call. A call that contains FAKE_FAIL fails; `cmake --install` installs files.
FAKE = r"""#!/bin/bash
printf '%s %s\n' "$(basename "$0")" "$*" >>"$CALLS"
if [ -n "${FAKE_FAIL-}" ] && [[ "$*" == *"$FAKE_FAIL"* ]]; then
    echo "[1/2] Building CXX object fine.o"
    echo "the fake breaks"
    exit 3
fi
case "$(basename "$0") $*" in
    "dpkg-query "*) echo "${FAKE_STATUS-install ok installed}" ;;
    "id -u") echo "${FAKE_USER-0}" ;;
    "cmake --preset"*) mkdir -p "build/$2" && : >"build/$2/build.ninja" ;;
    "cmake --install"*)
        for file in lib/libtorvelsi.so.0 include/torvelsi/IPATParser.h share/doc/torvelsi/LICENSE; do
            mkdir -p "$(dirname "$4/$file")"
            echo content >"$4/$file"
            echo "$4/$file"
        done >build/release/install_manifest.txt
        ;;
    "ctest "*)
        mkdir -p build/release/Testing/Temporary
        cat >build/release/Testing/Temporary/LastTest.log <<'LOG'
1/3 Testing: Suite.Runs
Output:
----------------------------------------------------------
[       OK ] Suite.Runs (0 ms)
<end of output>
Test Passed.
2/3 Testing: Suite.Skips  # GetParam() = 1
Output:
----------------------------------------------------------
/source/file.cpp:280: Skipped
this machine has only one interface
[  SKIPPED ] Suite.Skips (0 ms)
<end of output>
Test Pass Reason:
Skip regular expression found in output. Regex=[\[  SKIPPED \]]
3/3 Testing: script
Output:
----------------------------------------------------------
skipped: no streams here
<end of output>
Test Passed.
LOG
        echo "1/3 Test #1: Suite.Runs .......   Passed    0.01 sec"
        echo "100% tests passed, 0 tests failed out of 3"
        printf '\t   2 - Suite.Skips  # GetParam() = 1 (Skipped)\n\t   3 - script (Skipped)\n'
        ;;
esac
"""
FAKES = "apt-get ccache clang-format cmake ctest dpkg-query id mold sudo".split()


class Run(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)
        self.folder.chmod(0o755)
        self.checkout = self.folder / "checkout"
        (self.checkout / "scripts").mkdir(parents=True)
        for file in ["run", "CMakeLists.txt", "CMakePresets.json", "scripts/stages.sh",
                     "scripts/check.sh"]:
            shutil.copy(ROOT / file, self.checkout / file)
        self.path = self.folder / "bin"
        self.path.mkdir()
        for name in PLAIN:
            found = shutil.which(name)
            if found:
                (self.path / name).symlink_to(found)
        self.calls = self.folder / "calls"
        self.calls.touch()
        self.calls.chmod(0o666)

    def fake(self, *names):
        for name in names:
            file = self.path / name
            file.unlink(missing_ok=True)
            file.write_text(FAKE)
            file.chmod(0o755)

    def run_it(self, *arguments, status=0, user=None, **environment):
        result = subprocess.run(
            [str(self.checkout / "run"), *arguments], text=True, stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT, cwd=self.folder, timeout=300, user=user,
            stdin=subprocess.DEVNULL, check=False,
            env={"PATH": str(self.path), "CALLS": str(self.calls), **environment})
        self.assertEqual(result.returncode, status, result.stdout)
        return result.stdout

    def called(self):
        return self.calls.read_text()

    # --- Answers without installing or building

    def test_help_version_and_typos_neither_install_nor_build(self):
        self.fake("apt-get", "cmake", "ctest", "dpkg-query", "sudo")
        for word in ["help", "--help", "-h"]:
            self.assertIn("./run sanitize", self.run_it(word))
        self.assertRegex(self.run_it("--version"), r"^\d+\.\d+\.\d+\n$")
        self.assertIn("fuzz corpora", self.run_it("test", "--help"))
        self.assertNotIn("coverage", self.run_it("test", "--help"))
        self.run_it("tset", status=1)
        self.assertEqual(self.called(), "")
        self.assertFalse((self.checkout / "build").exists())

    def test_a_typo_names_the_near_command_and_help(self):
        for typo, meant in [("tset", "test"), ("scn", "scan"), ("sanitise", "sanitize")]:
            said = self.run_it(typo, status=1)
            self.assertIn(f"'{typo}' is not a command", said)
            self.assertIn(f"'{meant}'", said)
            self.assertIn("./run help", said)
        self.assertNotIn("did you mean", self.run_it("frobnicate", status=1))

    def test_arguments_that_a_command_does_not_take_are_refused(self):
        self.fake("cmake", "dpkg-query")
        self.assertIn("./run help", self.run_it("sanitize", "fast", status=1))
        self.assertNotIn("cmake --", self.called())

    @unittest.skipUnless(TOOL, "without the built tool")
    def test_help_shows_every_command_of_the_tool(self):
        text = subprocess.run([TOOL, "--help"], capture_output=True, text=True, check=True).stdout
        commands = re.findall(r"^  (\w+) ", text[text.index("ubcommands:"):], re.MULTILINE)
        self.assertIn("scan", commands)
        for command in commands:
            self.assertIn(f"./run {command} ", self.run_it("help"))

    # --- Missing packages and rights

    def test_without_dpkg_it_lists_what_to_install(self):
        self.fake("cmake")
        said = self.run_it("test", status=1)
        self.assertIn("ninja-build", said)
        self.assertIn("TORVELSI_SKIP_INSTALL=1 ./run test", said)
        self.assertEqual(self.called(), "")

    def test_without_dpkg_it_builds_when_told_that_all_is_there(self):
        self.fake("cmake")
        self.run_it("build", TORVELSI_SKIP_INSTALL="1")
        self.assertIn("cmake --build", self.called())

    def test_without_root_or_sudo_it_gives_a_line_to_copy(self):
        self.fake("dpkg-query", "id", "cmake")
        said = self.run_it("test", status=1, FAKE_STATUS="unknown", FAKE_USER="1000")
        self.assertRegex(said, r"\n +apt-get update && apt-get install -y [^\n]*\bninja-build\b")
        self.assertNotIn("cmake --", self.called())

    def test_packages_are_installed_with_their_lines_in_a_log(self):
        self.fake("dpkg-query", "id", "cmake", "apt-get", "sudo")
        self.run_it("build", FAKE_STATUS="unknown")
        self.assertRegex(self.called(), "apt-get install -y --no-install-recommends .*ninja-build")
        self.assertTrue((self.checkout / "build/apt.log").exists())
        self.assertIn("build/apt.log", self.run_it("build", FAKE_STATUS="unknown", status=1,
                                                   FAKE_FAIL="update"))

    def test_a_build_folder_of_another_user_is_named(self):
        (self.checkout / "build").mkdir(mode=0o555)
        self.fake("cmake", "dpkg-query")
        said = self.run_it("build", status=1, user=NOBODY if os.getuid() == 0 else None)
        self.assertIn("sudo rm -r", said)
        self.assertNotIn("cmake --", self.called())

    # --- Stages

    def test_a_stage_says_its_log_and_a_failing_one_what_did_not_run(self):
        self.fake("cmake", "ctest", "dpkg-query")
        said = self.run_it("test", status=3, FAKE_FAIL="--build build/release")
        self.assertIn("[1/4] release build (", said)
        self.assertIn("log: build/release.build.log", said)
        self.assertIn("the fake breaks", said)
        self.assertNotIn("fine.o", said)
        self.assertRegex(said, "did not run: release tests.*, fuzzer build, fuzz corpora\n")
        self.assertNotIn("ctest", self.called())

    def test_skipped_tests_are_listed_with_their_reason(self):
        self.fake("cmake", "ctest", "dpkg-query")
        said = self.run_it("test", "Suite")
        self.assertIn("skipped, this machine has only one interface: Suite.Skips\n", said)
        self.assertIn("skipped, no streams here: script\n", said)
        self.assertNotIn("Suite.Runs", said)
        self.assertIn("-R Suite", self.called())

    def test_a_plain_run_after_a_test_builds_the_products_alone(self):
        self.fake("cmake", "ctest", "dpkg-query")
        self.run_it("test", "Suite")
        self.calls.write_text("")
        self.run_it("build")
        self.assertIn("--target products", self.called())
        self.assertNotIn("--target all", self.called())

    def test_what_is_configured_is_not_configured_again(self):
        self.fake("cmake", "dpkg-query")
        self.run_it("build")
        self.assertIn("cmake --preset release", self.called())
        self.calls.write_text("")
        self.run_it("build")
        self.assertNotIn("cmake --preset", self.called())

    def test_what_was_configured_before_packages_came_is_configured_again(self):
        self.fake("cmake", "dpkg-query", "id", "apt-get")
        self.run_it("build")
        self.calls.write_text("")
        self.run_it("build", FAKE_STATUS="unknown")
        self.assertIn("cmake --preset release", self.called())

    def test_a_compiler_cache_and_a_fast_linker_are_used_where_they_are(self):
        self.fake("cmake", "dpkg-query")
        self.run_it("build")
        self.assertNotRegex(self.called(), "ccache|mold")
        self.fake("ccache", "mold")
        self.run_it("build")
        self.assertRegex(self.called(), "LAUNCHER=ccache.*=-fuse-ld=mold")

    # --- The rest

    def test_uninstall_removes_what_was_installed_and_nothing_else(self):
        self.fake("cmake", "dpkg-query")
        prefix = self.folder / "prefix"
        (prefix / "include").mkdir(parents=True)
        (prefix / "include/other.h").write_text("of somebody else")
        self.run_it("install", "--prefix", "prefix")  # of the caller, not of the checkout
        self.assertTrue((prefix / "include/torvelsi/IPATParser.h").exists())
        self.run_it("uninstall", "--prefix=prefix")
        left = sorted(str(p.relative_to(prefix)) for p in prefix.rglob("*") if p.is_file())
        self.assertEqual(left, ["include/other.h"])
        self.assertFalse((prefix / "include/torvelsi").exists())
        self.assertIn("nothing was installed", self.run_it("uninstall", "--prefix", "prefix",
                                                           status=1))

    def test_a_tarball_without_git_is_checked(self):
        self.fake("clang-format", "dpkg-query")
        (self.checkout / "SI").mkdir()
        (self.checkout / "SI/Some.cpp").touch()
        (self.checkout / "build/other").mkdir(parents=True)
        (self.checkout / "build/other/Made.cpp").touch()
        self.run_it("check", status=3, FAKE_FAIL="dry-run")
        self.assertIn("SI/Some.cpp", self.called())
        self.assertNotIn("Made.cpp", self.called())


if __name__ == "__main__":
    unittest.main()
