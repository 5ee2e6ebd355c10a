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
import time
import traceback

BOUND = 60  # seconds for all of it; about four times what is needed on an idle machine
STEP = 10   # seconds for a single thing to come about

MAIN_WINDOW = {
    'text': ['File to download', 'File Cheksum', 'Time Out', 'Parallel Waiting Delay', 'Protocol'],
    'button': ['Browse ...', 'Download (Parallel)', 'Download (Serial)', 'Flash Info', 'Boot Info',
                    'Exit', 'All', 'None', 'Auto', '3 -> 4', '4 -> 3'],
    'combo box': ['COM 7', '9600'],
    'check box': ['Controller %d' % number for number in range(32)] + [
        'Prot 3', 'Save configuration on exit',
        'Keep the existing baud rate for firmware download (ORVA only)'],
    'image': ['Warning about the file'],
}
INFO = {
    'text': ['File Cheksum'] + ['%s %d' % (field, number) for field in ('Version', 'Cheksum')
                                for number in range(32)],
    'button': ['Close'],
}
MESSAGE = {'button': ['Cancel'], 'image': ['Work in progress', 'Failure', 'Searching']}
FOCUSABLE = 'text', 'button', 'combo box', 'check box'
LABELS = {'COM 7': 'Com Port:', '9600': 'Speed:'}  # a list is read by its item; its label names its purpose
DISABLED = ['Download (Parallel)', 'Download (Serial)', 'File Cheksum']  # no file is chosen
ENABLED = ['Flash Info', 'Boot Info', 'Auto', 'Exit', 'Browse ...', 'Controller 0']


def end_with_parent():
    ctypes.CDLL(None).prctl(1, signal.SIGKILL)  # PR_SET_PDEATHSIG


started = []


def start(*words, **options):
    started.append(subprocess.Popen(words, preexec_fn=end_with_parent, **options))
    return started[-1]


def end_all():
    """Ends what was started, the last first, and waits: a screen leaves files that must be gone."""
    for program in reversed(started):
        program.terminate()
        try:
            program.wait(STEP)
        except subprocess.TimeoutExpired:
            program.kill()
            program.wait()


def start_told(*words):
    """Starts a program that writes where it is to be reached on a descriptor, 3 for it; returns that."""
    reading, writing = os.pipe()
    start(*[word % writing if '%d' in word else word for word in words], pass_fds=[writing],
          stderr=subprocess.DEVNULL)
    os.close(writing)
    told = os.fdopen(reading).readline().strip()
    check(told, words[0] + ' does not start')
    return told


def settings():
    """The time-out leaves each status line standing for long enough to be read."""
    boxes = ' 0 \r\n' * 32
    return '1200\r\nCOM 7\r\n9600\r\n' + boxes + '50\r\n63\r\n 0 \r\n 0 \r\n'


class Session:
    """The tool in a folder of its own, two controllers behind COM 7, a screen and buses of its own."""

    def __init__(self):
        self.folder = tempfile.mkdtemp()

    def open(self, quillon, bus):
        os.environ.update(XDG_RUNTIME_DIR=self.folder, QT_QPA_PLATFORM='xcb',
                          QT_LINUX_ACCESSIBILITY_ALWAYS_ON='1')
        os.environ['DISPLAY'] = ':' + start_told('Xvfb', '-displayfd', '%d', '-screen', '0', '1280x1024x24')
        os.environ['DBUS_SESSION_BUS_ADDRESS'] = start_told('dbus-daemon', '--session', '--nofork',
                                                            '--print-address=%d')
        for program in quillon, bus:
            shutil.copy(program, self.folder)
        with open(os.path.join(self.folder, 'Quillon.cfg'), 'w', newline='') as file:
            file.write(settings())
        line = start(os.path.join(self.folder, 'quillon-bus'), '--link', os.path.join(self.folder, 'COM7'),
                     '--count', '2', '--delay', '600', stdout=subprocess.PIPE)
        line.stdout.readline()

    def start_tool(self):
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

    def window(self, title):
        """The tool's window whose title begins so, or None."""
        return next((window for tool in self.children(self.desktop) for window in self.children(tool)
                     if window.get_name().strip().startswith(title)), None)

    def find(self, title, name):
        """The control of this name in a window; a label is none."""
        window = self.window(title)
        return window and next((item for item in self.all(window)
                                if item.get_name() == name and item.get_role_name() != 'label'), None)

    def is_in(self, state, item):
        return item is not None and item.get_state_set().contains(getattr(self.states, state))

    def row(self, number):
        """The two fields of a controller in the table."""
        fields = [self.find('Flash Info', '%s %d' % (field, number)) for field in ('Version', 'Cheksum')]
        return [self.text_of(field, 0, -1) if field else None for field in fields]

    def wait(self, what, true):
        """Returns when `true()` is, and ends the test where it does not come about."""
        end = time.monotonic() + STEP
        while not true():
            if time.monotonic() > end:
                shown = [item.get_name() for item in self.all() if item.get_role_name() == 'notification']
                sys.exit('FAILED: %s did not come about. Said: %s; status line: %s; focus went to %s' %
                         (what, self.said, shown, self.focused))
            while self.context.pending():
                self.context.iteration(False)
            time.sleep(0.02)


def press(*keys):
    subprocess.run(['xdotool', 'key', '--delay', '40', *keys], check=True)


def give_keyboard(title):
    """What a window manager does when somebody turns to a window."""
    window = subprocess.run(['xdotool', 'search', '--sync', '--onlyvisible', '--name', title], check=True,
                            capture_output=True, text=True, timeout=STEP).stdout.split()[0]
    subprocess.run(['xdotool', 'windowfocus', '--sync', window], check=True, timeout=STEP)


def check(true, what):
    if not true:
        sys.exit('FAILED: ' + what)


def role_of(item):
    """The role's name; newer versions of AT-SPI call a "push button" a "button"."""
    return item.get_role_name().removeprefix('push ')


def check_window(reader, title, role, controls):
    """Every control has its name and its role, and takes the keyboard where it is for that. Returns them."""
    window = reader.window(title)
    check(window, 'there is no window "%s"' % title)
    check(window.get_role_name() == role, '"%s" is reported as a %s' % (title, window.get_role_name()))
    told = {}
    for item in reader.all(window):
        item_role, name = role_of(item), item.get_name()
        check(name or item_role == 'filler', 'a %s of "%s" has no name' % (item_role, title))
        if item_role != 'label':
            told[name] = item
        if item_role in FOCUSABLE:
            check(reader.is_in('FOCUSABLE', item), '"%s" is reported as out of the keyboard\'s reach' % name)
    for wanted, names in controls.items():
        for name in names:
            check(name in told and role_of(told[name]) == wanted,
                  'there is no %s "%s"' % (wanted, name))
    return told


def check_main_window(reader):
    told = check_window(reader, 'Quillon version', 'frame', MAIN_WINDOW)
    for name, label in LABELS.items():
        labels = [relation.get_target(0).get_name() for relation in told[name].get_relation_set()
                  if relation.get_relation_type() == reader.labelled]
        check(label in labels, 'the list "%s" has the labels %s' % (name, labels))
    for name in DISABLED + ENABLED:
        check(reader.is_in('ENABLED', told[name]) == (name in ENABLED),
              '"%s" is reported wrongly enabled or not' % name)
    for name, ticked in ('Controller 0', False), ('Save configuration on exit', True):
        check(reader.is_in('CHECKED', told[name]) == ticked, '"%s" is reported wrongly ticked or not' % name)


def go_to(reader, name):
    for _ in range(60):
        reader.focused.clear()
        press('Tab')
        reader.wait('the next focus', lambda: reader.focused)
        if reader.focused[-1] == name:
            return
    sys.exit('FAILED: the Tab key does not reach "%s"' % name)


def tick_by_keyboard(reader):
    """Ticks controllers 1 and 2; then the box that offers two buttons, and takes its tick away."""
    def is_in(state, name):
        return reader.is_in(state, reader.find('Quillon version', name))

    go_to(reader, 'Prot 3')
    for shown in True, False:
        press('space')
        reader.wait('the button that "Prot 3" shows or hides',
                    lambda: is_in('CHECKED', 'Prot 3') == shown and is_in('SHOWING', '3 -> 4') == shown)
    go_to(reader, 'Controller 1')
    press('space', 'Right', 'space')
    reader.wait('ticks at 1 and 2',
                lambda: is_in('CHECKED', 'Controller 1') and is_in('CHECKED', 'Controller 2'))


def survey_by_keyboard(reader):
    """Controller 1 answers, controller 2 is silent. Each status line is said, once, as it comes."""
    go_to(reader, 'Flash Info')
    press('Return')
    lines = ['Controller 1 : Checking Flash  (Speed : 9600 Bds) ...',
             'Controller 2 : Checking Flash  (Speed : 9600 Bds) ...',
             'Controller 2 : No Answer   (Speed : 9600 Bds) ']
    reader.wait('the last of %s' % lines, lambda: lines[-1] in reader.said)
    check(reader.said[:len(lines)] == lines, 'what was said is %s' % reader.said)
    for name, shown in ('Failure', True), ('Work in progress', False):
        check(reader.is_in('SHOWING', reader.find('Message', name)) == shown,
              'picture "%s" is reported wrongly' % name)
    check_window(reader, 'Message', 'dialog', MESSAGE)
    check_window(reader, 'Flash Info', 'frame', INFO)
    rows = [['', ''], ['01/02/03', '1E02'], ['No', 'Answer']]
    reader.wait('the rows %s' % rows, lambda: [reader.row(number) for number in range(3)] == rows)


def cancel_by_keyboard(reader):
    """In mid-run, with the keyboard where the run was started: its window opened without it."""
    press('Escape')
    reader.wait('the end of "Message" by Esc',
                lambda: not reader.is_in('SHOWING', reader.find('Message', 'Cancel')))


def end_by_keyboard(tool):
    give_keyboard('Quillon version')
    press('alt+e')  # in the failure's pause
    check(tool.wait(STEP) == 0, 'the tool did not end by Alt+E')


def time_is_up(_, frame):
    traceback.print_stack(frame)
    sys.exit('FAILED: %d seconds are over' % BOUND)


def main():
    for program in 'Xvfb', 'xdotool', 'dbus-daemon', '/usr/libexec/at-spi-bus-launcher':
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
    signal.signal(signal.SIGALRM, time_is_up)
    signal.alarm(BOUND)
    session = Session()
    try:
        session.open(*sys.argv[1:3])
        reader = Reader()
        session.start_tool()  # not before: while both start, the tool may miss what the reader wants to hear
        reader.wait('the main window', lambda: reader.find('Quillon version', 'Exit'))
        check_main_window(reader)
        give_keyboard('Quillon version')
        tick_by_keyboard(reader)
        survey_by_keyboard(reader)
        cancel_by_keyboard(reader)
        end_by_keyboard(session.tool)
    finally:
        session.close()
    return 0


sys.exit(main())
