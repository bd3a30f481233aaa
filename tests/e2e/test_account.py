import unittest

from instance import InstanceTest

FILES = {"letter.txt": b"Dear reader\n", "notes/one.txt": b"1"}


class SignedOut(InstanceTest):
    def test_listing_and_records_are_refused_and_work_again_after_signing_in(self):
        home = self.with_documents(FILES)
        home.ok("fetch", "/letter.txt")
        before = home.status()["extension"]["pid"]
        home.ok("logout")
        for command in (["ls", "/"], ["info", "/letter.txt"]):
            error = home.error(*command)
            self.assertEqual((error["domain"], error["code"]), ("NSFileProviderErrorDomain", -1000))
            self.assertIn("NSFileProviderErrorDomain -1000", home.fails(*command))
        self.assertEqual((home.tree / "letter.txt").read_bytes(), b"Dear reader\n")
        self.assertEqual(home.tessera("whoami").returncode, 1)
        home.ok("login", "ada")
        self.assertEqual(home.info("/letter.txt")["size"], 12)
        self.assertIn("letter.txt", home.names("/"))
        self.assertEqual(home.status()["extension"]["pid"], before)

    def test_a_home_never_signed_in_says_how_to_sign_in(self):
        home = self.instance().up()
        self.assertIn("tessera login", home.fails("ls", "/"))
        self.assertIn("tessera login", home.fails("cloud", "import", "/usr/share/doc"))

    def test_asking_for_the_root_before_signing_in_spoils_nothing(self):
        home = self.instance().up()
        home.fails("info", "NSFileProviderRootContainerItemIdentifier")
        home.fails("ls", "/")
        home.ok("login", "ada")
        self.assertEqual(home.names("/"), ["Desktop", "Documents"])

    def test_another_account_is_refused_while_the_tree_is_somebody_elses(self):
        home = self.with_documents(FILES)
        home.ok("logout")
        message = home.fails("login", "grace")
        self.assertIn("ada", message)
        home.ok("login", "ada")
        self.assertEqual(home.ok("whoami").strip(), "ada")

    def test_the_account_survives_a_restart(self):
        home = self.with_documents(FILES)
        home.ok("down")
        home.ok("up")
        self.assertEqual(home.ok("whoami").strip(), "ada")
        self.assertIn("letter.txt", home.names("/"))


if __name__ == "__main__":
    unittest.main()
