import os
import signal
import subprocess
import unittest

from instance import BIN, InstanceTest, kill_hard, wait_for_end

FILES = {f"folder/{number:03}.txt": os.urandom(2000) for number in range(300)}


class KilledProcesses(InstanceTest):
    def test_the_command_after_the_extension_was_killed_works(self):
        home = self.with_documents(FILES)
        home.ls("/")
        for _ in range(2):
            kill_hard(home.status()["extension"]["pid"])
            self.assertEqual(len(home.ls("/folder")), 300)

    def test_the_command_after_skiff_was_killed_works_and_nothing_is_lost(self):
        home = self.with_documents(FILES)
        home.ok("fetch", "/folder/000.txt")
        before = {item["name"]: item["identifier"] for item in home.ls("/folder")}
        kill_hard(home.status()["skiff"]["pid"])
        after = {item["name"]: item["identifier"] for item in home.ls("/folder")}
        self.assertEqual(before, after)
        home.ok("fetch", "/folder/001.txt")
        for name in ("000.txt", "001.txt"):
            self.assertEqual((home.tree / "folder" / name).read_bytes(), FILES["folder/" + name])

    def test_killed_in_the_middle_of_fetching_every_document_is_whole_or_absent(self):
        home = self.with_documents(FILES)
        for process in ("skiff", "extension", "skiff"):
            pid = home.status()[process]["pid"]
            fetch = subprocess.Popen(
                [BIN / "tessera", "fetch", "/folder"],
                env=home.environment,
                stdout=subprocess.DEVNULL,
                stderr=subprocess.DEVNULL,
            )
            # Some documents have arrived, most have not.
            while not any((home.tree / path).exists() for path in FILES) and fetch.poll() is None:
                pass
            if pid:
                kill_hard(pid)
            fetch.wait(timeout=120)
            for path, content in FILES.items():
                file = home.tree / path
                if file.exists():
                    self.assertEqual(file.read_bytes(), content)
        home.ok("fetch", "/folder")
        for path, content in FILES.items():
            self.assertEqual((home.tree / path).read_bytes(), content)

    def test_a_stopped_daemon_gives_an_error_and_no_hung_command(self):
        home = self.with_documents({"a.txt": b"alpha"})
        home.ls("/")
        pid = home.status()["skiff"]["pid"]
        os.kill(pid, signal.SIGSTOP)
        try:
            self.assertIn("skiff", home.fails("fetch", "/a.txt"))
        finally:
            os.kill(pid, signal.SIGCONT)
        home.ok("fetch", "/a.txt")

    def test_after_the_host_was_killed_up_brings_everything_back(self):
        home = self.with_documents(FILES)
        host = home.status()["host"]["pid"]
        kill_hard(host)
        wait_for_end(host)
        self.assertIn("tessera up", home.fails("ls", "/"))
        home.ok("up")
        self.assertEqual(len(home.ls("/folder")), 300)


if __name__ == "__main__":
    unittest.main()
