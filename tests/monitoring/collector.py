#!/usr/bin/env python3
"""Reads what a bridge has logged as JSON in the way of the collector's example in docs/monitoring.md, stage by stage: each
field that a stage takes must be in every line, the time must be of the stage's format, and what comes out must be the line's
level and text. Usage: collector.py LINES (a file that a bridge has written)."""

import json
import re
import sys
from datetime import datetime
from pathlib import Path

import yaml

ROOT = Path(__file__).resolve().parents[2]
PAGE = ROOT / "docs/monitoring.md"
LOG_CONFIGURATION = ROOT / "config/korabridge-log.xml"

# What a stage may have of what it says.
STAGES = {"json": {"expressions"}, "timestamp": {"source", "format", "location"}, "output": {"source"}, "labels": None}
# The collector writes a format as a certain moment would be.
MOMENT = {"2006": "%Y", "01": "%m", "02": "%d", "15": "%H", "04": "%M", "05": "%S", "000": "%f"}


def example_of(page):
    """The indented block that begins with the collector's first word."""
    block = re.search(r"^ {4}scrape_configs:\n(?:(?: {4}.*)?\n)+", page, re.MULTILINE)
    return block[0] if block else ""


def file_of(log_configuration):
    return re.search(r'name="file-json".*?name="File" value="([^"]+)"', log_configuration, re.DOTALL)[1]


def strptime_format(format):
    return re.sub(r"\d+", lambda number: MOMENT.get(number[0], number[0]), format)


def run(stages, line):
    """What a line becomes: {"time": ..., "labels": ..., "entry": ...}. Throws what a stage cannot do."""
    taken, made = {}, {"labels": {}}
    for stage in stages:
        (kind, says), = stage.items()
        allowed = STAGES[kind]
        if allowed is not None and not set(says) <= allowed:
            raise KeyError(f"{kind} knows no {set(says) - allowed}")
        if kind == "json":
            taken |= {name: json.loads(line)[field or name] for name, field in says["expressions"].items()}
        elif kind == "timestamp":
            made["time"] = datetime.strptime(taken[says["source"]], strptime_format(says["format"]))
        elif kind == "labels":
            made["labels"] |= {name: taken[source or name] for name, source in says.items()}
        else:
            made["entry"] = taken[says["source"]]
    return made


def faults_of(example, file, lines):
    try:
        job, = yaml.safe_load(example)["scrape_configs"]
        labels = job["static_configs"][0]["labels"]
        stages = job["pipeline_stages"]
    except (yaml.YAMLError, KeyError, TypeError, ValueError) as problem:
        return [f"no configuration of one job: {problem!r}"]
    faults = [] if labels.get("__path__") == file else [f"the bridge writes {file}"]
    for line in lines:
        said = json.loads(line)
        try:
            made = run(stages, line)
        except (KeyError, TypeError, ValueError) as problem:
            return faults + [f"{line}: {problem!r}"]
        if made != {"time": datetime.fromisoformat(said["timestamp"].replace(",", ".")),
                    "labels": {"level": said["level"]}, "entry": said["message"]}:
            return faults + [f"{line} becomes {made}"]
    return faults


def main():
    lines = [line for line in Path(sys.argv[1]).read_text(errors="replace").split("\n") if line]
    faults = faults_of(example_of(PAGE.read_text()), file_of(LOG_CONFIGURATION.read_text()), lines)
    print("\n".join(faults + [f"{len(lines)} lines, {len(faults)} faults"]))
    return 1 if faults or not lines else 0


if __name__ == "__main__":
    sys.exit(main())
