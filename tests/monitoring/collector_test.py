#!/usr/bin/env python3
"""What collector.py finds wrong in the shipped example, changed in one place each."""

import unittest

import collector

EXAMPLE = collector.example_of(collector.PAGE.read_text())
FILE = collector.file_of(collector.LOG_CONFIGURATION.read_text())
LINE = '{ "timestamp": "2026-11-22 19:03:37,127", "level": "INFO", "logger": "KORABRIDGE", "message": "connected to router" }'


class CollectorTest(unittest.TestCase):
    def test_example_reads_what_a_bridge_writes(self):
        self.assertEqual(collector.faults_of(EXAMPLE, FILE, [LINE]), [])

    def test_what_does_not_fit_is_found(self):
        for before, after in (("timestamp: timestamp", "timestamp: time"), ("message: message", "message: msg"),
                              ("05,000", "05.000"), ("2006-01-02", "02.01.2006"), ("korabridge.json", "korabridge.log"),
                              ("{level: }", "{severity: }"), ("output: {source: message}", "output: {source: level}"),
                              ("location: Local", "zone: Local"), ("- output", "- outputs"), ("          - labels", "       - labels"),
                              ("pipeline_stages", "pipeline"), ("{source: message}", "{source: message")):
            changed = EXAMPLE.replace(before, after)
            self.assertNotEqual(changed, EXAMPLE, before)
            self.assertEqual(len(collector.faults_of(changed, FILE, [LINE])), 1, after)

    def test_line_that_has_not_all_is_found(self):
        self.assertEqual(len(collector.faults_of(EXAMPLE, FILE, [LINE, LINE.replace('"level"', '"severity"')])), 1)

    def test_page_without_an_example_is_found(self):
        self.assertEqual(collector.example_of("# A page\n"), "")
        self.assertEqual(len(collector.faults_of("", FILE, [LINE])), 1)


if __name__ == "__main__":
    unittest.main()
