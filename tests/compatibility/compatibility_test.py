#!/usr/bin/python3
"""Files of earlier releases must stay readable: each folder beside this file has those of one release.

    Quillon.cfg   today's tool uses port, speed, protocol and time-out from it, and saves it unchanged
    Log.txt       today's quillon-log finds every controller and its checksum
    run.json      every event and field that quillon-unattended --json printed is still printed, with its type
    job.jsonl     today's quillon-report prints the verdict and checksum of every controller from this job record

usage: compatibility_test.py PROGRAMS HEX [NEW-FOLDER]: the folder of the programs and the firmware file. With NEW-FOLDER,
today's files are stored there, for a new release."""
import csv
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

STEPS = ['parallel', 'flash-info:1,2', 'boot-info']
LIMIT = 60  # seconds for one run; it needs 5 on an idle machine
HERE = pathlib.Path(__file__).resolve().parent
OFFSCREEN = dict(os.environ, QT_QPA_PLATFORM='offscreen')


def run_tool(programs, hex_file, settings, folder):
    """Loads and surveys two controllers with these settings alone; returns the events."""
    for file in programs / 'quillon-unattended', programs / 'quillon-bus', hex_file:
        shutil.copy(file, folder)
    shutil.copy(settings, folder / 'Quillon.cfg')
    bus = subprocess.Popen([folder / 'quillon-bus', '--link', folder / 'COM7', '--controller', '1-2'],
                           stdout=subprocess.PIPE)
    try:
        bus.stdout.readline()
        done = subprocess.run(['./quillon-unattended', '--json', '--record', '.', '--hex', hex_file.name, *STEPS],
                              cwd=folder, timeout=LIMIT, stdout=subprocess.PIPE, env=OFFSCREEN)
    finally:
        bus.terminate()
        bus.wait(LIMIT)
    check(done.returncode == 0, 'the run with %s ended with exit status %d' % (settings, done.returncode))
    return done.stdout.decode()


def check(true, what):
    if not true:
        sys.exit('FAILED: ' + what)


def fields_of(events):
    """The type of each field of each event."""
    return {(event['event'], name): type(value).__name__.replace('float', 'int')
            for event in map(json.loads, events.splitlines()) for name, value in event.items()}


def output_of(*command):
    return subprocess.run(command, stdout=subprocess.PIPE, timeout=LIMIT, check=True, env=OFFSCREEN).stdout.decode()


def check_record(programs, release):
    """Revision 1 wrote no records."""
    record = release / 'job.jsonl'
    if not record.exists():
        return
    events = map(json.loads, record.read_text().splitlines())
    written = [(str(event['controller']), event['verdict'], event['after']['checksum'])
               for event in events if event['event'] == 'result']
    rows = csv.DictReader(output_of(programs / 'quillon-report', '--csv', record).splitlines())
    printed = [(row['controller'], row['verdict'], row['checksum after']) for row in rows]
    check(written and printed == written, '%s: quillon-report prints %s, not %s' % (release.name, printed, written))


def check_release(programs, release, events, saved):
    check(saved == (release / 'Quillon.cfg').read_bytes(), '%s/Quillon.cfg is saved otherwise' % release.name)
    summary = output_of(programs / 'quillon-log', '--summary', release / 'Log.txt').replace(',', ' ')
    for event in map(json.loads, (release / 'run.json').read_text().splitlines()):
        if event['event'] == 'controller':
            check(any(str(event['number']) in line.split() and event['checksum'] in line for line in
                      summary.splitlines()), '%s: quillon-log finds no %s' % (release.name, event))
    check_record(programs, release)
    now = fields_of(events)
    for field, kind in fields_of((release / 'run.json').read_text()).items():
        check(now.get(field) == kind, '%s: %s was of type %s, and is now %s' % (release.name, field, kind, now.get(field)))


def main():
    programs, hex_file = map(pathlib.Path, sys.argv[1:3])
    releases = sorted(path for path in HERE.iterdir() if (path / 'Quillon.cfg').exists())
    check(releases, 'there are no releases')
    for release in releases:
        with tempfile.TemporaryDirectory() as folder:
            folder = pathlib.Path(folder)
            events = run_tool(programs, hex_file, release / 'Quillon.cfg', folder)
            if len(sys.argv) > 3:
                new = pathlib.Path(sys.argv[3])
                new.mkdir(parents=True, exist_ok=True)
                for name in 'Quillon.cfg', 'Log.txt':
                    shutil.copy(folder / name, new)
                (new / 'run.json').write_text(events)
                shutil.copy(next(folder.glob('*-parallel.jsonl')), new / 'job.jsonl')
                return
            check_release(programs, release, events, (folder / 'Quillon.cfg').read_bytes())


main()
