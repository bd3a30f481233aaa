import unittest

from instance import InstanceTest


class TwoDevices(InstanceTest):
    def test_what_one_device_imports_is_on_the_other_with_the_same_identifiers(self):
        first = self.with_documents({"a/b/c.txt": b"deep"})
        second = self.signed_in("second", cloud=str(first.home / "cloud"))
        second.settle()
        self.assertEqual(
            first.info("/a/b/c.txt")["identifier"], second.info("/a/b/c.txt")["identifier"]
        )
        self.assertEqual(first.info("/Documents")["identifier"], second.info("/Documents")["identifier"])
        first.ok("cloud", "import", self.source({"later.txt": b"later"}, name="more"))
        second.settle()
        second.ok("fetch", "/later.txt", "/a/b/c.txt")
        self.assertEqual((second.tree / "later.txt").read_bytes(), b"later")

    def test_another_account_sees_none_of_it(self):
        first = self.with_documents({"secret.txt": b"s"})
        second = self.signed_in("second", account="grace", cloud=str(first.home / "cloud"))
        second.settle()
        self.assertNotIn("secret.txt", second.names("/"))


if __name__ == "__main__":
    unittest.main()
