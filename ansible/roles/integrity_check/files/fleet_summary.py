#!/usr/bin/env python3
"""Summarises the hosts' integrity check reports (JSON Lines) into the fleet
summary: JSON for machines, a table for people.

    fleet_summary.py --reports DIR --json FILE --text FILE HOST...

DIR holds HOST.jsonl for every host whose report was fetched. A host
without a report, or with one cut short, counts as failed: a check that
did not finish proves nothing.
"""

import argparse
import json
import os
import sys


def report_failure(reason):
    return {"manifest": "", "kind": "report", "path": "", "reason": reason}


def summarise_host(path):
    """The host's exit status (None when unknown) and failures."""
    if not os.path.exists(path):
        return None, [report_failure("no report")]
    failures = []
    exit_status = None
    try:
        with open(path, encoding="utf-8", errors="replace") as report:
            for line in report:
                if not line.strip():
                    continue
                record = json.loads(line)
                kind = record.get("record")
                if kind == "manifest" and record.get("result") == "failed":
                    failures.append({"manifest": record.get("path", ""), "kind": "manifest",
                                     "path": record.get("path", ""), "reason": record.get("message", "")})
                elif kind == "entry" and record.get("result") == "failed":
                    failures.append({"manifest": record.get("manifest", ""), "kind": record.get("kind", ""),
                                     "path": record.get("path", ""), "reason": record.get("reason", "")})
                elif kind == "summary":
                    exit_status = record.get("exit_status")
    except (OSError, ValueError, AttributeError) as error:
        failures.append(report_failure("unreadable report: %s" % error))
    if exit_status is None and not any(f["kind"] == "report" for f in failures):
        failures.append(report_failure("report without a summary record"))
    return exit_status, failures


def summarise(reports, hosts):
    summary = {"hosts_checked": len(hosts), "hosts_failed": 0, "hosts": {}}
    for host in hosts:
        exit_status, failures = summarise_host(os.path.join(reports, host + ".jsonl"))
        summary["hosts"][host] = {"exit_status": exit_status, "failures": failures}
        if exit_status != 0 or failures:
            summary["hosts_failed"] += 1
    return summary


def table(summary):
    rows = [("HOST", "KIND", "PATH", "REASON")]
    failures = 0
    for host, result in summary["hosts"].items():
        for failure in result["failures"]:
            rows.append((host, failure["kind"], failure["path"], failure["reason"]))
            failures += 1
        if result["exit_status"] not in (0, None) and not result["failures"]:
            # Failed before any manifest or entry: a bad command line or revocation data.
            rows.append((host, "run", "", "exit status %s" % result["exit_status"]))
    widths = [max(len(row[column]) for row in rows) for column in range(3)]
    lines = ["  ".join(cell.ljust(width) for cell, width in zip(row, widths)) + "  " + row[3] for row in rows]
    lines.append("%d hosts checked, %d failed, %d failures" %
                 (summary["hosts_checked"], summary["hosts_failed"], failures))
    return "\n".join(line.rstrip() for line in lines) + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--reports", required=True)
    parser.add_argument("--json", required=True)
    parser.add_argument("--text", required=True)
    parser.add_argument("hosts", nargs="*")
    arguments = parser.parse_args()
    summary = summarise(arguments.reports, arguments.hosts)
    for path in (arguments.json, arguments.text):
        os.makedirs(os.path.dirname(os.path.abspath(path)), exist_ok=True)
    with open(arguments.json, "w", encoding="utf-8") as out:
        json.dump(summary, out, indent=2, ensure_ascii=False)
        out.write("\n")
    with open(arguments.text, "w", encoding="utf-8") as out:
        out.write(table(summary))
    return 0


if __name__ == "__main__":
    sys.exit(main())
