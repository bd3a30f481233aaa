import os
import subprocess
import unittest
import uuid

from instance import InstanceTest, promises

FILES = {
    "letter.txt": b"Dear reader\n",
    "empty": b"",
    "photos/2024/summer/beach.jpg": os.urandom(300_000),
    "photos/2024/summer/hills.jpg": os.urandom(20_000),
    "photos/index.html": b"<html></html>",
    "program": b"#!/bin/sh\necho it runs\n",
}


class Listing(InstanceTest):
    def test_every_identifier_listed_has_a_record_whose_path_answers_it(self):
        home = self.with_documents(FILES)
        items = home.ls("/")
        self.assertIn("letter.txt", [item["name"] for item in items])
        for item in items:
            record = home.info(item["identifier"])
            self.assertEqual(record["identifier"], item["identifier"])
            self.assertEqual(home.info(record["path"])["identifier"], item["identifier"])

    def test_a_deep_folder_lists_its_entries_with_sizes_and_paths(self):
        home = self.with_documents(FILES)
        items = {item["name"]: item for item in home.ls("/photos/2024/summer")}
        self.assertEqual(set(items), {"beach.jpg", "hills.jpg"})
        self.assertEqual(items["beach.jpg"]["size"], 300_000)
        self.assertEqual(items["beach.jpg"]["path"], "/photos/2024/summer/beach.jpg")
        self.assertEqual(items["beach.jpg"]["contentType"], "image/jpeg")
        self.assertFalse(items["beach.jpg"]["downloaded"])

    def test_pages_follow_each_other_without_a_gap_in_both_orders(self):
        files = {f"many/{number:04}": b"x" for number in range(1001)}
        home = self.with_documents(files)
        root = self.folder / "source" / "many"
        for number in range(1001):
            os.utime(root / f"{number:04}", (number * 60, number * 60))
        second = self.signed_in("second", account="grace", cloud=str(home.home / "cloud"))
        second.ok("cloud", "import", root.parent)
        second.settle()
        names = [f"{number:04}" for number in range(1001)]
        self.assertEqual([i["name"] for i in second.ls("/many")], names)
        self.assertEqual([i["name"] for i in second.ls("/many", "--sort", "date")], names[::-1])

    def test_names_with_control_characters_cannot_reach_the_terminal(self):
        evil = "red\x1b[31m\nline\ttab\x07.txt"
        home = self.with_documents({evil: b"x", "plain é.txt": b"y"})
        for options in ([], ["-l"]):
            output = home.ok("ls", *options, "/")
            self.assertNotIn("\x1b", output)
            self.assertNotIn("\x07", output)
            self.assertIn("plain é.txt", output)
        self.assertIn(evil, home.names("/"))
        self.assertEqual(home.info("/" + evil)["name"], evil)

    def test_a_name_of_255_bytes_is_listed_and_opened(self):
        name = "n" * 251 + ".txt"
        home = self.with_documents({name: b"long"})
        self.assertIn(name, home.names("/"))
        home.ok("fetch", "/" + name)
        self.assertEqual((home.tree / name).read_bytes(), b"long")


class Records(InstanceTest):
    def test_unknown_identifiers_and_paths_and_paths_outside_are_refused(self):
        home = self.with_documents(FILES)
        unknown = home.error("info", str(uuid.uuid4()))
        self.assertEqual((unknown["domain"], unknown["code"]), ("NSFileProviderErrorDomain", -1005))
        for command in ("info", "ls", "fetch"):
            missing = home.fails(command, "/no/such/document")
            self.assertIn("/no/such/document", missing)
        self.assertIn("outside", home.fails("info", "../../etc/passwd", cwd=home.tree))
        home.fails("info", status=2)

    def test_the_root_answers_its_reserved_identifier(self):
        home = self.with_documents(FILES)
        record = home.info("/")
        self.assertEqual(record["identifier"], "NSFileProviderRootContainerItemIdentifier")
        self.assertEqual(home.info(record["identifier"])["identifier"], record["identifier"])
        self.assertEqual(record["kind"], "folder")

    def test_paths_in_the_tree_and_relative_paths_name_the_same_item(self):
        home = self.with_documents(FILES)
        expected = home.info("/photos/index.html")["identifier"]
        for path, folder in (
            (str(home.tree / "photos/index.html"), "/"),
            ("photos/index.html", str(home.tree)),
            ("index.html", str(home.tree / "photos")),
            ("./../photos//index.html", str(home.tree / "photos")),
        ):
            record = home.ok("info", "--json", path, cwd=folder)
            self.assertIn(expected, record)


class Fetching(InstanceTest):
    def test_fetched_documents_have_the_originals_bytes_date_and_mode(self):
        files = dict(FILES)
        source = self.source(files)
        os.chmod(source / "program", 0o755)
        os.utime(source / "letter.txt", ns=(1_000_000_000, 1_234_567_890_123_456_789))
        home = self.signed_in()
        home.ok("cloud", "import", source)
        home.settle()
        home.ok("fetch", "/")
        for path, content in files.items():
            self.assertEqual((home.tree / path).read_bytes(), content)
        self.assertEqual((home.tree / "letter.txt").stat().st_mtime_ns, 1_234_567_890_123_456_789)
        self.assertEqual(subprocess.check_output([home.tree / "program"]), b"it runs\n")
        self.assertEqual(promises(home.tree), [])

    def test_an_absent_document_is_absent_and_its_promise_stands_for_it(self):
        home = self.with_documents({"a.txt": b"alpha", "b.txt": b"beta"})
        self.assertFalse((home.tree / "a.txt").exists())
        self.assertEqual(len(promises(home.tree)), 2)
        home.ok("fetch", "/a.txt")
        self.assertEqual((home.tree / "a.txt").read_bytes(), b"alpha")
        self.assertTrue(home.info("/a.txt")["downloaded"])
        self.assertEqual(len(promises(home.tree)), 1)

    def test_fetching_a_present_document_asks_nothing_of_the_cloud(self):
        home = self.with_documents({"a.txt": b"alpha"})
        home.ok("fetch", "/a.txt")
        os.rename(home.home / "cloud", home.home / "cloud-away")
        home.ok("fetch", "/a.txt")
        os.rename(home.home / "cloud-away", home.home / "cloud")

    def test_content_that_is_not_its_hash_never_becomes_visible(self):
        home = self.with_documents({"a.txt": b"alpha" * 1000})
        blobs = [p for p in (home.home / "cloud/blobs").rglob("*") if p.is_file()]
        self.assertEqual(len(blobs), 1)
        content = bytearray(blobs[0].read_bytes())
        content[10] ^= 1
        os.chmod(blobs[0], 0o600)
        blobs[0].write_bytes(content)
        error = home.error("fetch", "/a.txt")
        self.assertEqual(error["domain"], "GVTesseraErrorDomain")
        self.assertFalse((home.tree / "a.txt").exists())
        self.assertIn("a.txt", " ".join(home.status()["problems"]))

    def test_a_file_of_the_persons_own_is_never_replaced(self):
        home = self.with_documents({"a.txt": b"from the cloud"})
        (home.tree / "a.txt").write_bytes(b"my own words")
        home.tessera("fetch", "/a.txt")
        self.assertEqual((home.tree / "a.txt").read_bytes(), b"my own words")

    def test_a_full_disk_leaves_no_half_written_document(self):
        disk = self.small_file_system("small", 8 << 20)
        home = self.signed_in("small/home", cloud=str(self.folder / "cloud"))
        home.ok("cloud", "import", self.source({"big": os.urandom(20 << 20), "little": b"x"}))
        home.settle()
        error = home.error("fetch", "/big")
        self.assertEqual((error["domain"], error["code"]), ("NSCocoaErrorDomain", 640))
        visible = {name for name in os.listdir(home.tree) if not name.startswith(".")}
        self.assertEqual(visible, {"Desktop", "Documents"})
        home.ok("fetch", "/little")
        self.assertTrue(disk.exists())

    def test_many_fetches_at_once_of_one_document_all_succeed(self):
        home = self.with_documents({"a.bin": os.urandom(5_000_000)})
        commands = [
            subprocess.Popen(
                [os.environ["TESSERA_BIN"] + "/tessera", "fetch", "/a.bin"],
                env=home.environment,
                stdout=subprocess.DEVNULL,
                stderr=subprocess.PIPE,
            )
            for _ in range(8)
        ]
        for command in commands:
            errors = command.communicate(timeout=120)[1]
            self.assertEqual(command.returncode, 0, errors)
        self.assertEqual(
            (home.tree / "a.bin").read_bytes(), (self.folder / "source/a.bin").read_bytes()
        )


if __name__ == "__main__":
    unittest.main()
