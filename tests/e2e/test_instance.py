import json
import os
import signal
import sqlite3
import subprocess
import unittest

from instance import BIN, InstanceTest, tree_state, wait_for_end


class Lifecycle(InstanceTest):
    def test_up_and_down_may_be_repeated(self):
        home = self.instance()
        home.ok("up")
        first = home.status()["host"]["pid"]
        home.ok("up")
        self.assertEqual(home.status()["host"]["pid"], first)
        home.ok("down")
        home.ok("down")
        self.assertIn("tessera up", home.fails("status"))
        for command in (["ls", "/"], ["info", "/"], ["fetch", "/x"], ["login", "ada"], ["whoami"]):
            self.assertIn("tessera up", home.fails(*command))

    def test_a_stale_socket_is_told_from_a_running_instance(self):
        home = self.instance().up()
        pid = home.status()["host"]["pid"]
        os.kill(pid, signal.SIGKILL)
        wait_for_end(pid)
        self.assertIn("tessera up", home.fails("ls", "/"))
        self.assertTrue((home.home / "run/fileproviderd.sock").exists())
        home.ok("up")
        self.assertNotEqual(home.status()["host"]["pid"], pid)

    def test_another_cloud_for_the_same_home_is_refused(self):
        home = self.instance().up()
        message = home.fails("up", "--cloud", str(self.folder / "another"))
        self.assertIn(str(home.home / "cloud"), message)
        self.assertFalse((self.folder / "another").exists())

    def test_the_hook_kind_of_placeholders_is_refused_clearly(self):
        home = self.instance()
        self.assertIn("hidden", home.fails("up", "--placeholders", "hook"))
        home.ok("up", "--placeholders", "auto")
        self.assertEqual(home.status()["placeholders"], "hidden")

    def test_an_idle_extension_ends_and_is_started_again(self):
        home = self.with_documents(
            {"a.txt": b"a"}, environment={"TESSERA_EXTENSION_IDLE": "1"}
        )
        home.ls("/")
        pid = home.status()["extension"]["pid"]
        if pid:  # 0: it has ended already
            wait_for_end(pid)
        self.assertEqual(home.status()["extension"]["pid"], 0)
        self.assertEqual(home.names("/"), ["a.txt", "Desktop", "Documents"])
        self.assertEqual(home.status()["extension"]["crashes"], 0)

    def test_help_names_every_command_and_completion_is_valid_bash(self):
        home = self.instance()
        text = home.ok("--help")
        for command in ("up", "down", "status", "login", "logout", "whoami", "cloud", "ls", "info", "fetch", "log"):
            self.assertIn(command, text)
            self.assertTrue(home.ok(command, "--help"))
        script = home.ok("completion", "bash")
        subprocess.run(["bash", "-n"], input=script.encode(), check=True)

    def test_the_extension_refuses_to_be_started_by_hand(self):
        result = subprocess.run([BIN / "tessera-fileprovider"], capture_output=True, timeout=30)
        self.assertEqual(result.returncode, 2)
        self.assertIn(b"fileproviderd", result.stderr)


class ForeignData(InstanceTest):
    def test_a_folder_that_is_not_a_cloud_is_left_alone(self):
        folder = self.source({"holiday.jpg": b"picture"}, name="mine")
        before = tree_state(folder)
        home = self.instance(cloud=str(folder))
        home.tessera("up", "--cloud", folder)
        self.assertIn(str(folder), home.fails("login", "ada"))
        self.assertEqual(tree_state(folder), before)

    def test_a_cloud_of_a_newer_version_is_left_alone(self):
        home = self.with_documents({"a.txt": b"a"})
        home.ok("down")
        cloud = home.home / "cloud"
        marker = json.loads((cloud / "tessera-cloud.json").read_text())
        marker["format"] = 99
        (cloud / "tessera-cloud.json").write_text(json.dumps(marker))
        before = tree_state(cloud)
        other = self.instance("other", cloud=str(cloud))
        other.tessera("up", "--cloud", cloud)
        self.assertIn("newer", other.fails("login", "ada"))
        other.ok("down")
        self.assertEqual(tree_state(cloud), before)

    def test_an_item_store_of_a_newer_version_is_left_alone(self):
        home = self.with_documents({"a.txt": b"a"})
        home.ok("down")
        store = home.home / "state/items.db"
        database = sqlite3.connect(store)
        database.execute("pragma user_version = 99")
        database.execute("pragma wal_checkpoint(truncate)")
        database.close()
        before = store.read_bytes()
        result = home.tessera("up")
        text = (result.stdout + result.stderr).decode() + home.tessera("status").stdout.decode()
        self.assertIn("newer", text)
        home.ok("down")
        self.assertEqual(store.read_bytes(), before)

    def test_a_cloud_folder_that_went_away_is_said_and_not_made_anew(self):
        home = self.with_documents({"a.txt": b"a", "b.txt": b"b"})
        home.ok("fetch", "/a.txt")
        home.ok("down")
        cloud = home.home / "cloud"
        os.rename(cloud, self.folder / "away")
        home.ok("up")
        self.assertEqual(len(home.ls("/")), 4)
        self.assertNotEqual(home.status()["cloud"]["state"], "connected")
        error = home.error("fetch", "/b.txt")
        self.assertEqual((error["domain"], error["code"]), ("NSFileProviderErrorDomain", -1004))
        self.assertFalse(cloud.exists())
        self.assertEqual((home.tree / "a.txt").read_bytes(), b"a")
        os.rename(self.folder / "away", cloud)
        home.ok("down")
        home.ok("up")
        home.ok("fetch", "/b.txt")


if __name__ == "__main__":
    unittest.main()
