import re
import unittest

from instance import InstanceTest


class LogLines(InstanceTest):
    def test_a_record_by_path_shows_its_lines_in_order_with_odd_sections(self):
        home = self.with_documents({"folder/letter.txt": b"Dear reader\n"})
        # A fresh extension process counts its sections from 1.
        home.ok("down")
        home.ok("up")
        skip = len(home.log_lines())
        identifier = home.info("/folder/letter.txt")["identifier"]
        path = str(home.tree / "folder/letter.txt")
        lines = [line for line in home.log_lines()[skip:] if line.startswith("[DEBUG]")]
        record = lines[2]
        self.assertRegex(record, re.escape(f"[DEBUG] returning <GVQueryItem {identifier} "))
        url = f"file://{path}"
        self.assertEqual(
            lines[:11],
            [
                f"[DEBUG] ┏1 asked identifier for {path}",
                f"[DEBUG] ┏3 asked properties for {path}",
                record,
                "[DEBUG] ┗3 ",
                f"[DEBUG] returning {identifier}",
                "[DEBUG] ┗1 ",
                f"[DEBUG] ┏5 asked properties for {identifier}",
                f"[DEBUG] ┏7 asked url for {identifier}",
                f"[DEBUG] returning {url}",
                "[DEBUG] ┗7 ",
                f"[DEBUG] ┏9 asked properties for {path}",
            ],
        )
        self.assertEqual(lines[11:15], [record, "[DEBUG] ┗9 ", record, "[DEBUG] ┗5 "])

    def test_a_listing_and_a_download_show_their_stages(self):
        home = self.with_documents({"a.txt": b"alpha"})
        home.ls("/")
        home.ok("fetch", "/a.txt")
        home.ok("fetch", "/a.txt")
        text = "\n".join(home.log_lines())
        for pattern in (
            r"\[DEBUG\] ┏[0-9a-f]+ enumerator for NSFileProviderRootContainerItemIdentifier",
            r"\[DEBUG\] ┏[0-9a-f]+ listing items",
            r"\[DEBUG\] ┣[0-9a-f]+ calling skiff",
            r"\[DEBUG\] ┳[0-9a-f]+ received next page 0 items=",
            r"\[DEBUG\] ┣[0-9a-f]+ start providing .*/a.txt \(readingOptions: .*\)",
            r"\[DEBUG\] ┳[0-9a-f]+ item providing completion; \(null\)",
            r"\[DEBUG\] url exists, granting the read",
        ):
            self.assertRegex(text, pattern)

    def test_levels_filter_what_is_shown(self):
        home = self.with_documents({"a.txt": b"alpha"})
        home.ls("/")
        self.assertIn("[DEBUG]", home.ok("log", "--level", "debug"))
        self.assertNotIn("[DEBUG]", home.ok("log", "--level", "error"))


if __name__ == "__main__":
    unittest.main()
