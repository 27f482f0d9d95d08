#!/usr/bin/env python3
"""scripts/check-sbom on a package made here, with a document that is right and with one thing wrong at a time."""

import copy
import hashlib
import json
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPT = Path(__file__).resolve().parents[2] / "scripts/check-sbom"
CONTROL = """Package: door
Version: 1.0
Architecture: all
Maintainer: a carpenter <carpenter@korabridge.example>
Depends: libc6 (>= 2.34), hinge
Description: a door
"""


class SbomTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        content = Path(cls.folder.name) / "content"
        (content / "DEBIAN").mkdir(parents=True)
        (content / "DEBIAN/control").write_text(CONTROL)
        # Any program of the system that links the C library and nothing else.
        shutil.copy("/bin/true", content / "door")
        cls.deb = Path(cls.folder.name) / "door.deb"
        subprocess.run(["dpkg-deb", "-b", "--root-owner-group", content, cls.deb], check=True, capture_output=True)

    def setUp(self):
        checksum = hashlib.sha256(self.deb.read_bytes()).hexdigest()
        described = {"supplier": "Organization: carpenters", "downloadLocation": "NOASSERTION", "filesAnalyzed": False,
                     "licenseConcluded": "NOASSERTION", "copyrightText": "NOASSERTION"}
        self.good = {
            "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT", "name": "house",
            "documentNamespace": "https://korabridge.example/spdx/house",
            "creationInfo": {"created": "2026-11-22T10:00:00Z", "creators": ["Organization: carpenters"]},
            "packages": [
                {"SPDXID": "SPDXRef-door", "name": "door", "versionInfo": "1.0", "licenseDeclared": "LicenseRef-oral",
                 "checksums": [{"algorithm": "SHA256", "checksumValue": checksum}]} | described,
                {"SPDXID": "SPDXRef-libc6", "name": "libc6", "versionInfo": "2.36", "licenseDeclared": "MIT OR Zlib"} | described],
            "hasExtractedLicensingInfos": [{"licenseId": "LicenseRef-oral", "extractedText": "As agreed."}],
            "relationships": [
                {"spdxElementId": "SPDXRef-DOCUMENT", "relationshipType": "DESCRIBES", "relatedSpdxElement": "SPDXRef-door"},
                {"spdxElementId": "SPDXRef-door", "relationshipType": "DYNAMIC_LINK", "relatedSpdxElement": "SPDXRef-libc6",
                 "comment": "libc.so.6"}]}

    def check(self, document):
        path = Path(self.folder.name) / "document.json"
        path.write_text(json.dumps(document))
        return subprocess.run([sys.executable, SCRIPT, path, self.deb], capture_output=True, text=True, check=False)

    def complaint(self, change):
        document = copy.deepcopy(self.good)
        change(document)
        result = self.check(document)
        self.assertEqual(result.returncode, 1, result.stdout)
        return result.stdout

    def test_a_complete_document_in_form_passes(self):
        result = self.check(self.good)
        self.assertEqual((result.returncode, result.stdout), (0, "check-sbom: 2 packages, 2 relationships\n"))

    def test_every_required_member_is_missed(self):
        places = {"document": lambda document: document, "creation": lambda document: document["creationInfo"],
                  "package libc6": lambda document: document["packages"][1],
                  "relationship": lambda document: document["relationships"][1]}
        for what, place in places.items():
            for member in place(self.good):
                if (what, member) in (("document", "hasExtractedLicensingInfos"), ("relationship", "comment")):
                    continue
                with self.subTest(what, member=member):
                    found = self.complaint(lambda document, place=place, member=member: place(document).pop(member))
                    self.assertIn(f"{what if member != 'name' or what == 'document' else 'package None'}: {member} is None", found)

    def test_what_spdx_does_not_allow_is_named(self):
        self.assertIn("spdxVersion", self.complaint(lambda d: d.update(spdxVersion="SPDX-9")))
        self.assertIn("created", self.complaint(lambda d: d["creationInfo"].update(created="today")))
        self.assertIn("documentNamespace", self.complaint(lambda d: d.update(documentNamespace="house#door")))
        self.assertIn("is another's too", self.complaint(lambda d: d["packages"][1].update(SPDXID="SPDXRef-door")))
        self.assertIn("nothing has the id SPDXRef-roof",
                      self.complaint(lambda d: d["relationships"][1].update(relatedSpdxElement="SPDXRef-roof")))
        self.assertIn("LicenseRef-oral is not explained", self.complaint(lambda d: d.update(hasExtractedLicensingInfos=[])))
        self.assertIn("is no licence", self.complaint(lambda d: d["packages"][1].update(licenseDeclared="as you like")))

    def test_what_the_package_has_and_the_document_has_not_is_named(self):
        self.assertIn("door: libc.so.6 is missing", self.complaint(lambda d: d["relationships"][1].update(comment="")))
        self.assertIn("door: depends on libc6", self.complaint(lambda d: d["relationships"].pop()))
        self.assertIn("door: nothing in it needs libroof.so.1",
                      self.complaint(lambda d: d["relationships"][1].update(comment="libc.so.6 libroof.so.1")))
        self.assertIn("checksum is another file's", self.complaint(lambda d: d["packages"][0]["checksums"].pop()))
        self.assertIn("door 1.0 is not described", self.complaint(lambda d: d["packages"][0].update(versionInfo="1.1")))
        self.assertIn("does not say that it describes it", self.complaint(lambda d: d["relationships"].pop(0)))


if __name__ == "__main__":
    unittest.main()
