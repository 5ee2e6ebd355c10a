#!/usr/bin/python3
"""The real window, operated by the keyboard alone and read through the accessibility bus.

Keys come from an X server; controls and texts are read as a screen reader does. usage: access_test.py QUILLON
QUILLON-BUS. Exits with status 77 where the programs that this needs are not installed."""
import ctypes
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time

STEP = 10  # seconds for one condition to become true

# Controls by role; the other ones are covered by numbers below or named like their caption.
MAIN_WINDOW = {
    'text': ['File to download', 'File Cheksum', 'Time Out', 'Parallel Waiting Delay', 'Protocol'],
    'button': ['Download (Parallel)', 'Flash Info', 'Exit', 'Auto', '3 -> 4'],
    'combo box': ['COM 7', '9600'],
    'check box': ['Controller 0', 'Controller 31', 'Prot 3'],
    'image': ['Warning about the file'],
}
INFO = {'text': ['File Cheksum', 'Version 0', 'Cheksum 31'], 'button': ['Close']}
MESSAGE = {'button': ['Cancel'], 'image': ['Work in progress', 'Failure', 'Searching']}
FOCUSABLE = 'text', 'button', 'combo box', 'check box'
LABELS = {'COM 7': 'Com Port:', '9600': 'Speed:'}  # a list is read by its item; its label names its purpose


def end_with_parent():
    ctypes.CDLL(None).prctl(1, signal.SIGKILL)  # PR_SET_PDEATHSIG


started = []


def start(*words, **options):
    started.append(subprocess.Popen(words, preexec_fn=end_with_parent, **options))
    return started[-1]


def end_all():
    """Ends what was started, the last first, and waits: an X server then removes its files."""
    for program in reversed(started):
        program.terminate()
        try:
            program.wait(STEP)
        except subprocess.TimeoutExpired:
            program.kill()
            program.wait()


def start_and_read(*words):
    """Starts a program that writes its address to a descriptor, for which it has a %d; returns the address."""
    reading, writing = os.pipe()
    start(*[word % writing if '%d' in word else word for word in words], pass_fds=[writing],
          stderr=subprocess.DEVNULL)
    os.close(writing)
    address = os.fdopen(reading).readline().strip()
    check(address, words[0] + ' does not start')
    return address


def open_session(folder, quillon, bus):
    """Starts an X server, a message bus, and two controllers behind COM 7 of the tool in `folder`."""
    os.environ.update(XDG_RUNTIME_DIR=folder, QT_QPA_PLATFORM='xcb', QT_LINUX_ACCESSIBILITY_ALWAYS_ON='1')
    os.environ['DISPLAY'] = ':' + start_and_read('Xvfb', '-displayfd', '%d', '-screen', '0', '1280x1024x24')
    os.environ['DBUS_SESSION_BUS_ADDRESS'] = start_and_read('dbus-daemon', '--session', '--nofork',
                                                            '--print-address=%d')
    shutil.copy(quillon, folder)
    with open(os.path.join(folder, 'Quillon.cfg'), 'w', newline='') as file:
        # With this time-out each status line is shown for long enough to be read.
        file.write('1200\r\nCOM 7\r\n9600\r\n' + ' 0 \r\n' * 32 + '50\r\n63\r\n 0 \r\n 0 \r\n')
    line = start(bus, '--link', os.path.join(folder, 'COM7'), '--count', '2', '--delay', '600',
                 stdout=subprocess.PIPE)
    line.stdout.readline()


class Reader:
    """A screen reader: the controls that it finds, and the events that it receives."""

    def __init__(self):
        import gi
        gi.require_version('Atspi', '2.0')
        from gi.repository import Atspi, GLib
        self.states = Atspi.StateType
        self.text_of = Atspi.Text.get_text
        self.labelled = Atspi.RelationType.LABELLED_BY
        Atspi.init()
        self.desktop = Atspi.get_desktop(0)
        self.said = []  # the notifications, which it reads aloud, in order
        self.focused = []  # the controls that got the keyboard, in order
        self.listener = Atspi.EventListener.new(self.receive)
        for event in 'object:state-changed:showing', 'object:state-changed:focused':
            self.listener.register(event)
        self.context = GLib.MainContext.default()

    def receive(self, event):
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
        """The control of this name in a window, but no label."""
        window = self.window(title)
        return window and next((item for item in self.all(window)
                                if item.get_name() == name and item.get_role_name() != 'label'), None)

    def is_in(self, state, item):
        return item is not None and item.get_state_set().contains(getattr(self.states, state))

    def row(self, number):
        """The two fields of a controller in the table."""
        fields = [self.find('Flash Info', '%s %d' % (field, number)) for field in ('Version', 'Cheksum')]
        return [self.text_of(field, 0, -1) if field else None for field in fields]

    def wait(self, what, condition):
        """Returns as soon as the condition is true; the test fails if it does not become true."""
        end = time.monotonic() + STEP
        while not condition():
            check(time.monotonic() < end,
                  'no %s. Said: %s; focus went to %s' % (what, self.said, self.focused))
            while self.context.pending():
                self.context.iteration(False)
            time.sleep(0.02)


def press(*keys):
    subprocess.run(['xdotool', 'key', '--delay', '40', *keys], check=True)


def activate(title):
    """Does what a window manager does when the operator selects a window."""
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
    """Each control has its name and its role, and accepts the keyboard where it should. Returns them."""
    window = reader.window(title)
    check(window, 'there is no window "%s"' % title)
    check(window.get_role_name() == role, '"%s" is reported as a %s' % (title, window.get_role_name()))
    found = {}
    for item in reader.all(window):
        item_role, name = role_of(item), item.get_name()
        check(name or item_role == 'filler', 'a %s of "%s" has no name' % (item_role, title))
        if item_role != 'label':
            found[name] = item
        if item_role in FOCUSABLE:
            check(reader.is_in('FOCUSABLE', item), '"%s" is reported as out of the keyboard\'s reach' % name)
    for wanted, names in controls.items():
        for name in names:
            check(name in found and role_of(found[name]) == wanted, 'there is no %s "%s"' % (wanted, name))
    return found


def check_main_window(reader):
    found = check_window(reader, 'Quillon version', 'frame', MAIN_WINDOW)
    for name, label in LABELS.items():
        labels = [relation.get_target(0).get_name() for relation in found[name].get_relation_set()
                  if relation.get_relation_type() == reader.labelled]
        check(label in labels, 'the list "%s" has the labels %s' % (name, labels))
    for name, enabled in ('Download (Parallel)', False), ('Flash Info', True):  # no file is chosen
        check(reader.is_in('ENABLED', found[name]) == enabled, '"%s" is wrongly enabled or not' % name)


def go_to(reader, name):
    for _ in range(60):
        reader.focused.clear()
        press('Tab')
        reader.wait('the next focus', lambda: reader.focused)
        if reader.focused[-1] == name:
            return
    sys.exit('FAILED: the Tab key does not reach "%s"' % name)


def tick_by_keyboard(reader):
    """Ticks controllers 1 and 2; then the box that shows two buttons."""
    def is_in(state, name):
        return reader.is_in(state, reader.find('Quillon version', name))

    go_to(reader, 'Prot 3')
    press('space')
    reader.wait('button that "Prot 3" shows',
                lambda: is_in('CHECKED', 'Prot 3') and is_in('SHOWING', '3 -> 4'))
    press('space')
    go_to(reader, 'Controller 1')
    press('space', 'Right', 'space')
    reader.wait('ticks at 1 and 2',
                lambda: is_in('CHECKED', 'Controller 1') and is_in('CHECKED', 'Controller 2'))


def survey_by_keyboard(reader):
    """Controller 1 answers, controller 2 is silent. Each status line is read aloud once, when it is shown."""
    go_to(reader, 'Flash Info')
    press('Return')
    lines = ['Controller 1 : Checking Flash  (Speed : 9600 Bds) ...',
             'Controller 2 : Checking Flash  (Speed : 9600 Bds) ...',
             'Controller 2 : No Answer   (Speed : 9600 Bds) ']
    reader.wait('last of %s' % lines, lambda: lines[-1] in reader.said)
    check(reader.said[:len(lines)] == lines, 'what was said is %s' % reader.said)
    check_window(reader, 'Message', 'dialog', MESSAGE)
    check_window(reader, 'Flash Info', 'frame', INFO)
    rows = [['', ''], ['01/02/03', '1E02'], ['No', 'Answer']]
    reader.wait('rows %s' % rows, lambda: [reader.row(number) for number in range(3)] == rows)


def end_by_keyboard(reader, tool):
    """During the run, with the keyboard where it was started: Esc cancels, Alt+E ends the program."""
    press('Escape')
    reader.wait('end of "Message" by Esc',
                lambda: not reader.is_in('SHOWING', reader.find('Message', 'Cancel')))
    activate('Quillon version')
    press('alt+e')
    check(tool.wait(STEP) == 0, 'the tool did not end by Alt+E')


def try_by_keyboard(folder, quillon, bus):
    open_session(folder, quillon, bus)
    reader = Reader()
    tool = start(os.path.join(folder, 'quillon'))  # after the reader, so that it receives each event
    reader.wait('main window', lambda: reader.find('Quillon version', 'Exit'))
    check_main_window(reader)
    activate('Quillon version')
    tick_by_keyboard(reader)
    survey_by_keyboard(reader)
    end_by_keyboard(reader, tool)


def main():
    for program in 'Xvfb', 'xdotool', 'dbus-daemon', '/usr/libexec/at-spi-bus-launcher':
        if not shutil.which(program):
            print('skipped: %s is not installed' % program)
            return 77
    try:
        import gi
        gi.require_version('Atspi', '2.0')
    except (ImportError, ValueError) as reason:
        print('skipped: %s' % reason)
        return 77
    end_with_parent()
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as folder:
        try:
            try_by_keyboard(folder, *sys.argv[1:3])
        finally:
            end_all()
    return 0


sys.exit(main())
