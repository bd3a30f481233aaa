import os
import socket
import stat
import unittest

from instance import InstanceTest, is_root


class BadSources(InstanceTest):
    def test_what_is_not_a_document_is_reported_and_the_rest_goes_on(self):
        source = self.source({"good.txt": b"good", "folder/also.txt": b"good too"})
        os.symlink("good.txt", source / "link")
        os.symlink("/nowhere", source / "folder/dangling")
        os.mkfifo(source / "pipe")
        listener = socket.socket(socket.AF_UNIX)
        listener.bind(str(source / "socket"))
        (source / ".tessera-mine").write_bytes(b"reserved")
        with open(os.fsencode(source) + b"/bad-\xff-name", "wb") as file:
            file.write(b"x")
        left_out = ["link", "dangling", "pipe", "socket", ".tessera-mine", "name"]
        if is_root():
            os.mknod(source / "device", 0o600 | stat.S_IFCHR, os.makedev(1, 3))
            left_out.append("device")
        home = self.signed_in()
        result = home.tessera("cloud", "import", source)
        listener.close()
        self.assertEqual(result.returncode, 3)
        text = (result.stdout + result.stderr).decode()
        for name in left_out:
            self.assertIn(name, text)
        home.settle()
        self.assertEqual({"good.txt", "folder"}, set(home.names("/")) - {"Desktop", "Documents"})
        self.assertEqual(home.names("/folder"), ["also.txt"])

    def test_a_source_that_is_missing_or_no_folder_is_refused(self):
        home = self.signed_in()
        self.assertIn("nowhere", home.fails("cloud", "import", self.folder / "nowhere"))
        file = self.source({"file": b"x"}) / "file"
        self.assertIn("file", home.fails("cloud", "import", file))
        message = home.fails("cloud", "import", self.folder / "source", "--container", "no.such")
        self.assertIn("no.such", message)

    def test_importing_again_changes_nothing_and_a_changed_document_becomes_a_new_version(self):
        home = self.with_documents({"a.txt": b"one", "b.txt": b"two"})
        before = {item["name"]: item for item in home.ls("/")}
        home.ok("cloud", "import", self.folder / "source")
        home.settle()
        self.assertEqual(before, {item["name"]: item for item in home.ls("/")})
        home.ok("fetch", "/a.txt")
        self.source({"a.txt": b"one, and more"})
        home.ok("cloud", "import", self.folder / "source")
        home.settle()
        after = home.info("/a.txt")
        self.assertEqual(after["identifier"], before["a.txt"]["identifier"])
        self.assertEqual(after["size"], 13)
        home.ok("fetch", "/a.txt")
        self.assertEqual((home.tree / "a.txt").read_bytes(), b"one, and more")

    def test_a_container_has_a_folder_of_its_own(self):
        home = self.signed_in()
        home.ok("cloud", "container", "add", "com.example.notes", "--name", "Notes")
        home.ok("cloud", "import", self.source({"n.txt": b"note"}), "--container", "com.example.notes")
        home.settle()
        self.assertIn("Notes", home.names("/"))
        self.assertEqual(home.names("/Notes"), ["n.txt"])
        home.ok("fetch", "/Notes/n.txt")
        self.assertEqual((home.tree / "Notes/n.txt").read_bytes(), b"note")
        self.assertIn("com.example.notes", home.ok("cloud", "container", "list"))
        home.fails("cloud", "container", "add", "not a container!")


class FullDisk(InstanceTest):
    def test_a_full_cloud_disk_is_said_and_what_was_saved_stays_whole(self):
        disk = self.small_file_system("cloud-disk", 6 << 20)
        home = self.signed_in(cloud=str(disk / "cloud"))
        home.ok("cloud", "import", self.source({"first.txt": b"first"}))
        big = {f"big/{n:02}": os.urandom(1 << 20) for n in range(20)}
        message = home.fails("cloud", "import", self.source(big, name="big-source"))
        self.assertIn("full", message.lower())
        home.settle()
        for item in home.ls("/big") if "big" in home.names("/") else []:
            home.ok("fetch", item["path"])
            self.assertEqual((home.tree / item["path"][1:]).read_bytes(), big[item["path"][1:]])
        home.ok("fetch", "/first.txt")
        self.assertEqual((home.tree / "first.txt").read_bytes(), b"first")


if __name__ == "__main__":
    unittest.main()
