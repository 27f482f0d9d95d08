#!/usr/bin/env python3
"""What expressions.py finds wrong, in expressions and a dashboard made up here; and that each alert is tried both ways."""

import copy
import json
import re
import subprocess
import unittest
from pathlib import Path

import expressions

METRICS = expressions.parse_metrics("""# HELP a_total A.
a_total{result="done"} 1
a_total{result="locked"} 2
a_seconds_bucket{le="0.5"} 1
a_seconds_bucket{le="+Inf"} 1
b 5
""")
SOURCE = {"type": "prometheus", "uid": "${source}"}
DASHBOARD = {
    "panels": [{"id": 1, "type": "stat", "title": "P", "datasource": SOURCE, "gridPos": {"x": 0, "y": 0, "w": 12, "h": 8},
                "targets": [{"refId": "A", "datasource": SOURCE, "expr": "a_total", "legendFormat": "{{result}}"}]}],
    "templating": {"list": [{"name": "source", "type": "datasource", "query": "prometheus"}]}}
ALERTS = Path(__file__).resolve().parent / "alerts.yml"


class ExpressionsTest(unittest.TestCase):
    def test_what_is_there_may_be_named(self):
        for expression in ("b", 'rate(a_total{result="done", instance=~"$instance"}[$__rate_interval])',
                           "histogram_quantile(0.9, sum by (instance, le) (rate(a_seconds_bucket[5m])))",
                           'b > 1 or max by (instance) (max_over_time(b[1d])) unless on (instance) b',
                           'time() - node_textfile_mtime_seconds{file=~".*x.*"} > 60'):
            self.assertEqual(expressions.faults_of(expression, METRICS), [], expression)

    def test_what_is_not_there_is_found(self):
        for expression, fault in (("rate(a_totals[5m])", "no metric a_totals"),
                                  ('a_total{results="done"}', "a_total has no label results"),
                                  ('a_total{result!="lock"}', "a_total is never result=lock"),
                                  ("sum by (reason) (b)", "groups by reason, which nothing has"),
                                  ("b unless c", "no metric c"),
                                  ("1 + 1", "names no metric")):
            self.assertEqual(expressions.faults_of(expression, METRICS), [fault], expression)

    def test_grammar_is_promtools_to_judge(self):
        self.assertEqual(expressions.grammar_of(["b", "rate(b[$__rate_interval])"]), "")
        for wrong in ("rate(b", "rate(b)", "b ==", "sum by (le (b)"):
            self.assertNotEqual(expressions.grammar_of(["b", wrong]), "", wrong)

    def test_rules_of_one_line_and_of_several_are_read(self):
        text = "rules:\n      - alert: A\n        expr: b == 1\n      - alert: B\n        expr: >-\n          b\n          or b\n"
        self.assertEqual(expressions.expressions_of_rules(text), {"A": "b == 1", "B": "b or b"})

    def test_panels_lie_apart_and_legends_name_labels(self):
        dashboard = copy.deepcopy(DASHBOARD)
        panel, = dashboard["panels"]
        self.assertEqual(expressions.faults_of_dashboard(dashboard, METRICS), [])
        other = copy.deepcopy(panel)
        other["targets"][0]["legendFormat"] = "{{reason}}"
        dashboard["panels"].append(other)
        self.assertEqual(expressions.faults_of_dashboard(dashboard, METRICS),
                         ["panels share an id", "P: the legend names reason"])
        other["id"] = 2
        other["targets"][0]["legendFormat"] = ""
        self.assertEqual(expressions.faults_of_dashboard(dashboard, METRICS), ["P: lies on another panel"])
        other["gridPos"]["x"] = 13
        self.assertEqual(expressions.faults_of_dashboard(dashboard, METRICS), ["P: beyond the right edge"])


    def test_references_are_to_what_there_is_once(self):
        for place, key, value, fault in (("panel", "type", "graph", "P: is a graph"),
                                         ("panel", "datasource", {"uid": "$source"}, "P: no data source $source"),
                                         ("target", "datasource", {"uid": "${other}"}, "P: no data source ${other}"),
                                         ("target", "expr", "a_total{result=~\"$results\"}", "P: no variable results")):
            dashboard = copy.deepcopy(DASHBOARD)
            panel, = dashboard["panels"]
            (panel if place == "panel" else panel["targets"][0])[key] = value
            self.assertEqual(expressions.faults_of_references(dashboard), [fault])
        dashboard = copy.deepcopy(DASHBOARD)
        dashboard["templating"]["list"].append({"name": "v", "type": "query", "datasource": {"uid": "${w}"}})
        self.assertEqual(expressions.faults_of_references(dashboard), ["v: no data source ${w}"])
        dashboard = copy.deepcopy(DASHBOARD)
        dashboard["panels"][0]["targets"] *= 2
        self.assertEqual(expressions.faults_of_references(dashboard), ["P: queries share a name"])


class ShippedTest(unittest.TestCase):
    def promtool(self, *arguments):
        said = subprocess.run(["promtool", *arguments], capture_output=True, text=True)
        self.assertEqual(said.returncode, 0, said.stdout + said.stderr)

    def test_dashboard_is_well_formed(self):
        dashboard = json.loads(expressions.DASHBOARD.read_text())
        self.assertGreater(len(dashboard["panels"]), 10)
        self.assertEqual(expressions.faults_of_references(dashboard), [])

    def test_alerts_are_rules_and_do_what_their_tests_say(self):
        self.promtool("check", "rules", str(expressions.RULES))
        self.promtool("test", "rules", str(ALERTS))

    def test_each_alert_is_seen_firing_and_silent(self):
        tried = re.findall(r"alertname: (\w+)\n +exp_alerts:( \[\])?\n", ALERTS.read_text())
        for alert in expressions.expressions_of_rules(expressions.RULES.read_text()):
            self.assertIn((alert, ""), tried)
            self.assertIn((alert, " []"), tried)


if __name__ == "__main__":
    unittest.main()
