#!/usr/bin/python3
"""Files of earlier releases must stay readable: each folder beside this file has those of one release.

    Quillon.cfg   today's tool uses port, speed, protocol and time-out from it, and saves it unchanged
    Log.txt       today's quillon-log finds every controller and its checksum
    run.json      every event and field that quillon-unattended --json printed is still printed, with its type

usage: compatibility_test.py PROGRAMS HEX [NEW-FOLDER]: the folder of the programs and the firmware file. With NEW-FOLDER,
today's files are stored there, for a new release."""
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


def run_tool(programs, hex_file, settings, folder):
    """Loads and surveys two controllers with these settings alone; returns the events."""
    for name in 'quillon-unattended', 'quillon-bus':
        shutil.copy(programs / name, folder)
    shutil.copy(settings, folder / 'Quillon.cfg')
    bus = subprocess.Popen([folder / 'quillon-bus', '--link', folder / 'COM7', '--controller', '1-2'],
                           stdout=subprocess.PIPE)
    try:
        bus.stdout.readline()
        done = subprocess.run([folder / 'quillon-unattended', '--json', '--hex', hex_file, *STEPS], timeout=LIMIT,
                              stdout=subprocess.PIPE, env=dict(os.environ, QT_QPA_PLATFORM='offscreen'))
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


def check_release(programs, release, events, saved):
    check(saved == (release / 'Quillon.cfg').read_bytes(), '%s/Quillon.cfg is saved otherwise' % release.name)
    story = subprocess.run([programs / 'quillon-log', '--summary', release / 'Log.txt'], stdout=subprocess.PIPE,
                           timeout=LIMIT, check=True).stdout.decode()
    for event in map(json.loads, (release / 'run.json').read_text().splitlines()):
        if event['event'] == 'controller':
            check(any(str(event['number']) in line.split() and event['checksum'] in line for line in
                      story.replace(',', ' ').splitlines()), '%s: quillon-log finds no %s' % (release.name, event))
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
                return
            check_release(programs, release, events, (folder / 'Quillon.cfg').read_bytes())


main()
