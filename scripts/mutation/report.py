"""What a run says at its end, and the data that it leaves."""

NOTICED = ("unit", "sanitizer", "end-to-end", "timeout")


def summary(folder, seed, commit, verdicts, processor=0.0):
    """The counts and each verdict, as data; `processor` is what the steps took of it, in seconds."""
    count = {by: sum(verdict.by == by for verdict in verdicts)
             for by in (*NOTICED, "unnoticed", "excused", "not compiled")}
    noticed = sum(count[by] for by in NOTICED)
    judged = noticed + count["unnoticed"]
    return {"folder": folder, "seed": seed, "commit": commit, "tried": len(verdicts), "judged": judged, "noticed": noticed,
            "percent": round(100 * noticed / judged, 1) if judged else 100.0, "count": count,
            "seconds": round(sum(verdict.seconds for verdict in verdicts)), "processor_seconds": round(processor),
            "steps": [verdict.as_data() for verdict in verdicts]}


def difference(verdict):
    """The place of a step and what it changes."""
    return "\n".join([f"{verdict.path}:{verdict.line} {verdict.operator}", *(f"- {line}" for line in verdict.old),
                      *(f"+ {line}" for line in verdict.new)])


def text(data, verdicts):
    """For the reader: what nobody noticed, then the counts."""
    unnoticed = [difference(verdict) + "\n" for verdict in verdicts if verdict.by == "unnoticed"]
    count = data["count"]
    return "\n".join([
        *(["", "Nobody noticed:", "", *unnoticed] if unnoticed else [""]),
        f"{data['folder']}: {data['judged']} steps judged, {data['noticed']} noticed ({data['percent']} %): "
        f"{count['unit']} by unit tests, {count['sanitizer']} by unit tests under the thread sanitizer, "
        f"{count['end-to-end']} by end-to-end tests, {count['timeout']} by a timeout; {count['unnoticed']} unnoticed. "
        f"Besides, {count['not compiled']} did not compile and {count['excused']} cannot be noticed. "
        f"{data['processor_seconds'] / max(1, data['tried']):.1f} s of a processor each."])
