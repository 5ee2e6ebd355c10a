#!/usr/bin/python3
"""The real window as somebody meets it who uses no mouse and no eyes.

Keys come from an X server's keyboard; what stands where is read through the accessibility bus, as a screen
reader does. usage: access_test.py QUILLON QUILLON-BUS. Ends with 77 where that can't be had here."""
import ctypes
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

BOUND = 60  # seconds for all of it; about four times what is needed on an idle machine
STEP = 10   # seconds for a single thing to come about

MAIN_WINDOW = {
    'text': ['File to download', 'File Cheksum', 'Time Out', 'Parallel Waiting Delay', 'Protocol'],
    'push button': ['Browse ...', 'Download (Parallel)', 'Download (Serial)', 'Flash Info', 'Boot Info', 'Exit',
                    'All', 'None', 'Auto', '3 -> 4', '4 -> 3'],
    'combo box': ['COM 7', '9600'],
    'check box': ['Controller %d' % number for number in range(32)] + [
        'Prot 3', 'Save configuration on exit',
        'Keep the existing baud rate for firmware download (ORVA only)'],
    'image': ['Warning about the file'],
}
LABELS = {'COM 7': 'Com Port:', '9600': 'Speed:'}  # a list is told by its item; its label says what it is for
DISABLED = ['Download (Parallel)', 'Download (Serial)', 'File Cheksum']  # no file is chosen
ENABLED = ['Flash Info', 'Boot Info', 'Auto', 'Exit', 'Browse ...', 'Controller 0']


def end_with_parent():
    ctypes.CDLL(None).prctl(1, signal.SIGKILL)  # PR_SET_PDEATHSIG


started = []


def start(*words, **options):
    started.append(subprocess.Popen(words, preexec_fn=end_with_parent, **options))
    return started[-1]


def end_all():
    """Ends what was started, the last first, and waits: a screen leaves files that the next one must not meet."""
    for program in reversed(started):
        program.terminate()
        program.wait()


def start_told(*words):
    """Starts a program that writes where it is to be reached on a descriptor, 3 for it; returns that."""
    reading, writing = os.pipe()
    start(*[word % writing if '%d' in word else word for word in words], pass_fds=[writing],
          stderr=subprocess.DEVNULL)
    os.close(writing)
    return os.fdopen(reading).readline().strip()


def settings():
    boxes = ' 0 \r\n' * 32
    return '150\r\nCOM 7\r\n9600\r\n' + boxes + '50\r\n63\r\n 0 \r\n 0 \r\n'


class Desk:
    """The tool in a folder of its own, with two controllers behind COM 7, on a screen and buses of its own."""

    def __init__(self, quillon, bus):
        self.folder = tempfile.mkdtemp()
        os.environ.update(XDG_RUNTIME_DIR=self.folder, QT_QPA_PLATFORM='xcb', QT_LINUX_ACCESSIBILITY_ALWAYS_ON='1')
        os.environ['DISPLAY'] = ':' + start_told('Xvfb', '-displayfd', '%d', '-screen', '0', '1280x1024x24')
        os.environ['DBUS_SESSION_BUS_ADDRESS'] = start_told('dbus-daemon', '--session', '--nofork',
                                                            '--print-address=%d')
        for program in quillon, bus:
            shutil.copy(program, self.folder)
        with open(os.path.join(self.folder, 'Quillon.cfg'), 'w', newline='') as file:
            file.write(settings())
        line = start(os.path.join(self.folder, 'quillon-bus'), '--link', os.path.join(self.folder, 'COM7'),
                     '--count', '2', stdout=subprocess.PIPE)
        line.stdout.readline()
        self.tool = start(os.path.join(self.folder, 'quillon'))

    def close(self):
        end_all()
        shutil.rmtree(self.folder, ignore_errors=True)


class Reader:
    """A screen reader: what it finds, and what it hears by itself."""

    def __init__(self):
        import gi
        gi.require_version('Atspi', '2.0')
        from gi.repository import Atspi, GLib
        self.states = Atspi.StateType
        self.text_of = Atspi.Text.get_text
        self.labelled = Atspi.RelationType.LABELLED_BY
        Atspi.init()
        self.desktop = Atspi.get_desktop(0)
        self.said = []  # what it would say by itself, in order
        self.focused = []  # the controls that got the keyboard, in order
        self.listener = Atspi.EventListener.new(self.hear)
        for event in 'object:state-changed:showing', 'object:state-changed:focused':
            self.listener.register(event)
        self.context = GLib.MainContext.default()

    def hear(self, event):
        if not event.detail1:
            return
        if event.type.endswith('focused'):
            self.focused.append(event.source.get_name())
        elif event.source.get_role_name() == 'notification':
            self.said.append(event.source.get_name())

    def all(self, node=None):
        """Every object of the tool, from its windows down; items of lists are left out."""
        for child in self.children(node or self.desktop):
            yield child
            if child.get_role_name() != 'combo box':
                yield from self.all(child)

    @staticmethod
    def children(node):
        return [child for child in map(node.get_child_at_index, range(node.get_child_count())) if child]

    def find(self, name):
        """The control of this name; a label is none."""
        return next((item for item in self.all()
                     if item.get_name() == name and item.get_role_name() != 'label'), None)

    def has(self, name, state):
        item = self.find(name)
        return item is not None and item.get_state_set().contains(getattr(self.states, state))

    def text(self, name):
        item = self.find(name)
        return self.text_of(item, 0, -1) if item else None

    def wait(self, what, true):
        """Returns when `true()` is, and ends the test where it does not come about."""
        end = time.monotonic() + STEP
        while not true():
            if time.monotonic() > end:
                shown = [item.get_name() for item in self.all() if item.get_role_name() == 'notification']
                sys.exit('FAILED: %s did not come about. Said: %s; status line: %s' % (what, self.said, shown))
            while self.context.pending():
                self.context.iteration(False)
            time.sleep(0.02)


def press(*keys):
    subprocess.run(['xdotool', 'key', '--delay', '40', *keys], check=True)


def give_keyboard(title):
    window = subprocess.run(['xdotool', 'search', '--sync', '--onlyvisible', '--name', title], check=True,
                            capture_output=True, text=True, timeout=STEP).stdout.split()[0]
    subprocess.run(['xdotool', 'windowfocus', '--sync', window], check=True)


def check(true, what):
    if not true:
        sys.exit('FAILED: ' + what)


def check_what_is_told(reader):
    told = {}
    for item in reader.all():
        role, name = item.get_role_name(), item.get_name()
        check(name or role not in MAIN_WINDOW, 'a %s has no name' % role)
        if role != 'label':
            told[name] = role, item
    for role, names in MAIN_WINDOW.items():
        for name in names:
            check(name in told and told[name][0] == role, 'there is no %s "%s"' % (role, name))
    for name, label in LABELS.items():
        labels = [relation.get_target(0).get_name() for relation in told[name][1].get_relation_set()
                  if relation.get_relation_type() == reader.labelled]
        check(label in labels, 'the list "%s" has the labels %s' % (name, labels))
    for name in DISABLED + ENABLED:
        enabled = told[name][1].get_state_set().contains(reader.states.ENABLED)
        check(enabled == (name in ENABLED), '"%s" is told wrongly enabled or not' % name)
    check(not reader.has('Controller 0', 'CHECKED'), '"Controller 0" is told as ticked')


def go_to(reader, name):
    for _ in range(60):
        reader.focused.clear()
        press('Tab')
        reader.wait('the next focus', lambda: reader.focused)
        if reader.focused[-1] == name:
            return
    sys.exit('FAILED: the Tab key does not reach "%s"' % name)


def survey_by_keyboard(reader, tool):
    """Controller 1 answers, controller 2 is silent."""
    give_keyboard('Quillon version')
    go_to(reader, 'Controller 1')
    press('space', 'Right', 'space')
    reader.wait('ticks at 1 and 2', lambda: reader.has('Controller 1', 'CHECKED') and
                reader.has('Controller 2', 'CHECKED'))
    go_to(reader, 'Flash Info')
    press('Return')
    for line in 'Controller 2 : Checking Flash ', 'Controller 2 : No Answer ':
        reader.wait('"%s"' % line, lambda: any(said.startswith(line) for said in reader.said))
    rows = {'Version 0': '', 'Version 1': '01/02/03', 'Cheksum 1': '1E02', 'Version 2': 'No', 'Cheksum 2': 'Answer'}
    reader.wait('the rows', lambda: {name: reader.text(name) for name in rows} == rows)
    give_keyboard('Quillon version')
    press('alt+e')  # in the middle of the run
    check(tool.wait(STEP) == 0, 'the tool did not end by Alt+E')


def main():
    for program in 'Xvfb', 'xdotool', 'dbus-daemon':
        if not shutil.which(program):
            print('%s is not there: not tried' % program)
            return 77
    try:
        import gi
        gi.require_version('Atspi', '2.0')
    except (ImportError, ValueError) as reason:
        print('%s: not tried' % reason)
        return 77
    end_with_parent()
    signal.alarm(BOUND)
    desk = Desk(*sys.argv[1:3])
    try:
        reader = Reader()
        reader.wait('the main window', lambda: reader.find('Exit'))
        check_what_is_told(reader)
        survey_by_keyboard(reader, desk.tool)
    finally:
        desk.close()
    return 0


sys.exit(main())
