"""The console's controls as a screen reader sees them."""

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

from station import wait_until  # noqa: E402

Role = Atspi.Role
OPERABLE = {Role.PUSH_BUTTON, Role.TOGGLE_BUTTON, Role.CHECK_BOX, Role.RADIO_BUTTON, Role.SLIDER, Role.DIAL,
            Role.SPIN_BUTTON, Role.TEXT, Role.ENTRY, Role.COMBO_BOX, Role.MENU_ITEM}


class Control:
    def __init__(self, node):
        self.node = node
        self.name = node.get_name() or ""
        self.role = node.get_role()
        area = node.get_extents(Atspi.CoordType.SCREEN) if node.get_component_iface() else None
        self.x, self.y, self.width, self.height = (area.x, area.y, area.width, area.height) if area else (0, 0, 0, 0)

    def __repr__(self):
        return f"{self.role.value_nick} {self.name!r} {self.width}x{self.height}+{self.x}+{self.y}"

    @property
    def middle(self):
        return self.x + self.width // 2, self.y + self.height // 2

    @property
    def operable(self):
        return self.role in OPERABLE

    def has(self, state):
        return self.node.get_state_set().contains(getattr(Atspi.StateType, state.upper()))

    @property
    def checked(self):
        return self.has("checked") or self.has("pressed")

    @property
    def value(self):
        return self.node.get_value_iface().get_current_value()

    @property
    def text(self):
        text = self.node.get_text_iface()
        return text.get_text(0, text.get_character_count()) if text else ""

    def inside(self, other):
        return (self.x >= other.x and self.y >= other.y and self.x + self.width <= other.x + other.width and
                self.y + self.height <= other.y + other.height)

    def overlaps(self, other):
        return (self.x < other.x + other.width and other.x < self.x + self.width and self.y < other.y + other.height and
                other.y < self.y + self.height)


class Program:
    """The accessible side of one process."""

    def __init__(self, pid):
        self.pid = pid
        self.node = None
        Atspi.init()
        if not wait_until(self._find, 10, 0.05):
            raise AssertionError("the console does not appear among the accessible programs")

    def _find(self):
        pump()
        desktop = Atspi.get_desktop(0)
        for index in range(desktop.get_child_count()):
            node = desktop.get_child_at_index(index)
            if node and node.get_process_id() == self.pid and node.get_child_count() > 0:
                node.set_cache_mask(Atspi.Cache.NONE)
                self.node = node
                return True
        return False

    def walk(self, node=None, depth=0, shown=True):
        """(depth, node) of everything below; with `shown`, of what can be seen."""
        node = node or self.node
        for index in range(node.get_child_count()):
            child = node.get_child_at_index(index)
            if child is None or shown and not child.get_state_set().contains(Atspi.StateType.SHOWING):
                continue
            yield depth, child
            yield from self.walk(child, depth + 1, shown)

    def controls(self, window=None):
        """All that are shown, the windows first; of one window only."""
        return [Control(node) for _, node in self.walk(window.node if window else None)]

    def windows(self):
        return [Control(node) for node in (self.node.get_child_at_index(i) for i in range(self.node.get_child_count()))
                if node and node.get_state_set().contains(Atspi.StateType.SHOWING)]

    def find(self, name):
        """The first control of that name."""
        for _, node in self.walk():
            if node.get_name() == name:
                return Control(node)
        raise AssertionError(f"there is no control {name!r}:\n{self.tree()}")

    def tree(self):
        return "\n".join("  " * depth + repr(Control(node)) for depth, node in self.walk())


class Events:
    """What the console tells screen readers: (kind, control) of each event since the start."""

    def __init__(self, *kinds):
        self.heard = []
        self.listener = Atspi.EventListener.new(self._hear)
        for kind in kinds:
            self.listener.register(kind)

    def _hear(self, event):
        self.heard.append((event.type, Control(event.source)))

    def wait(self, matches, timeout=5):
        def arrived():
            pump()
            return any(matches(kind, control) for kind, control in self.heard)
        return wait_until(arrived, timeout, 0.02)


def pump():
    """Takes in what the bus has delivered."""
    context = GLib.MainContext.default()
    while context.pending():
        context.iteration(False)
