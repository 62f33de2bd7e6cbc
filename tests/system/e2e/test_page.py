"""The page of `velkpci report` as a browser shows it: all that the inventory has is on it and opens, whatever the machine
calls its things; by mouse and keys, wide and narrow, light and dark."""

import copy
import json
import sys
import unittest

import browser
import wine_prefix
from wine_prefix import ROOT, SERVER, THINGS

BUILD = wine_prefix.build_folder()
SKIPPED = 77  # as CMakeLists.txt has it
SHOWN = [name for name in THINGS if name != "Velk_PCISlotLocation"]  # locations are reached from their slots
HOSTILE = ["</script><script>window.hostile = 1</script>", "<img src=x onerror='window.hostile = 1'>",
           "quotes \" ' ` & &lt; \u2028\u2029 \u202eright to left", "</style><b>bold</b><!--", "]]> \u0007\ufffe",
           "\U0001f4a5" * 300]

# Clicks each of some buttons and tells what the panel shows then.
CLICK = """(() => {
  const rows = () => [...document.querySelectorAll("#detail-properties tr")].map((row) => [
    row.cells[0].firstChild.data.trim(), row.cells.length > 1 ? row.cells[1].textContent : null]);
  return [...document.querySelectorAll("main [data-opens]")].filter((_, i) => i %% %d === 0).map((button) => {
    button.click();
    const shown = {path: document.getElementById("detail-path").textContent, visible: !document.getElementById("detail").hidden,
                   kind: document.getElementById("detail-class").textContent, properties: Object.fromEntries(rows())};
    document.getElementById("close").click();
    return shown;
  });
})()"""

# Texts with less contrast than 4.5 to what is behind them.
CONTRAST = """(() => {
  const numbers = (color) => color.match(/[\\d.]+/g).map(Number);
  const light = (color) => {
    const [r, g, b] = numbers(color).map((c) => c / 255).map((c) => c <= 0.04045 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4);
    return 0.2126 * r + 0.7152 * g + 0.0722 * b;
  };
  const paper = (element) => {
    for (let each = element; each; each = each.parentElement) {
      const color = getComputedStyle(each).backgroundColor;
      if ((numbers(color)[3] ?? 1) === 1) return color;
    }
    return "rgb(255, 255, 255)";
  };
  const bad = [];
  for (const element of document.body.querySelectorAll("*")) {
    const hasText = [...element.childNodes].some((node) => node.nodeType === 3 && node.data.trim());
    if (!hasText || !element.checkVisibility()) continue;
    const [dark, bright] = [light(getComputedStyle(element).color), light(paper(element))].sort((a, b) => a - b);
    if ((bright + 0.05) / (dark + 0.05) < 4.5) bad.push(element.outerHTML.slice(0, 120));
  }
  return bad;
})()"""

prefix = None
window = None
pages = {}


def setUpModule():
    global prefix, window
    prefix = wine_prefix.Prefix(BUILD, "e2e-page")
    unittest.addModuleCleanup(prefix.remove)
    prefix.register()
    window = browser.Browser(PROGRAM)
    unittest.addModuleCleanup(window.close)


def machine_file(name: str, machine: dict):
    file = prefix.folder / f"{name}.json"
    file.write_text(json.dumps(machine), encoding="utf-8")
    return file


def hostile_machine() -> dict:
    machine = json.loads(SERVER.read_text(encoding="utf-8"))
    machine["computer"]["dnsFullyQualified"] = "<b>host&'</b>"
    for device, name in zip(machine["devices"], HOSTILE * 4):
        device["DeviceDesc"] = name
    return machine


def big_machine(count: int) -> dict:
    machine = json.loads((ROOT / "machines" / "no-smbios.json").read_text(encoding="utf-8"))
    pattern = machine["devices"][-1]
    machine["devices"] = []
    for i in range(count):
        device = copy.deepcopy(pattern)
        device["instanceId"] = f"{pattern['instanceId']}{i:04X}"
        device["DeviceDesc"] = f"Function {i}"
        bus, number, function = i // 256, i // 8 % 32, i % 8
        device["BusNumber"], device["Address"] = bus, number << 16 | function
        device["LocationInformation"] = f"PCI bus {bus}, device {number}, function {function}"
        for name in ("UINumber", "LocationPaths"):
            device.pop(name, None)
        machine["devices"].append(device)
    return machine


def show(machine):
    """Opens the page of a machine; what the inventory has of it is told."""
    if machine not in pages:
        page = prefix.folder / f"{machine.stem}.html"
        answer = prefix.velkpci("report", "--html", page, machine=machine)
        told = prefix.velkpci("dump", "--json", machine=machine).json()
        pages[machine] = page, told, answer
    page, told, answer = pages[machine]
    window.open(page)
    return told, answer


def as_shown(value, name) -> str:
    if isinstance(value, list):
        names = name or [None] * len(value)
        return "{" + ", ".join(map(as_shown, value, names)) + "}"
    text = {True: "TRUE", False: "FALSE"}[value] if isinstance(value, bool) else str(value)
    return text if name is None else f"{text} ({name})"


def properties_as_shown(instance: dict) -> dict:
    return {name: None if value is None else as_shown(value, instance["names"].get(name))
            for name, value in instance["properties"].items()}


class PageCase(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        window.resize(1280)
        window.prefer("light")

    def check_quiet(self):
        self.assertEqual(window.complaints(), [])
        self.assertEqual(len(window.requests()), 1, window.requests())

    def check_everything_opens(self, machine):
        told, _ = show(machine)
        instances = {each["path"]: each for each in told["instances"]}
        expected = {path for path, each in instances.items() if each["class"] in SHOWN}
        opened = window.run(CLICK % 1)
        self.assertTrue(all(each["visible"] for each in opened))
        self.assertEqual(expected - {each["path"] for each in opened}, set())
        for each in opened:
            if each["path"] in instances:
                self.assertEqual(each["properties"], properties_as_shown(instances[each["path"]]))
                self.assertEqual(each["kind"], instances[each["path"]]["class"])
        self.check_quiet()


class Inventory(PageCase):
    def test_everything_of_the_inventory_is_there_and_opens(self):
        for name in ("two-socket-rack-server", "server-of-2024", "tower-with-gaps", "odd-bridges", "german-windows",
                     "no-smbios", "no-devices"):
            with self.subTest(machine=name):
                self.check_everything_opens(ROOT / "machines" / f"{name}.json")

    def test_names_of_the_machine_are_texts_and_nothing_else(self):
        machine = machine_file("hostile", hostile_machine())
        self.check_everything_opens(machine)
        self.assertEqual(window.run("[typeof window.hostile, document.querySelectorAll('b, img, script, style').length]"),
                         ['undefined', 3], "one style, a script and its data")
        whats = window.run("[...document.querySelectorAll('.what')].map((each) => each.textContent)")
        self.assertLessEqual({HOSTILE[0], HOSTILE[1], HOSTILE[3]}, set(whats))

    def test_slots_stand_in_the_order_of_their_numbers(self):
        show(SERVER)
        self.assertEqual(window.run("[...document.querySelectorAll('.number')].map((each) => each.textContent)"),
                         ["1", "2", "3", "4", "5", "6"])
        self.assertEqual(window.run("[...document.querySelectorAll('.slot')].map((each) => !!each.querySelector('.empty'))"),
                         [False, False, True, True, False, False])

    def test_a_card_leads_to_its_slot_and_its_functions(self):
        show(SERVER)
        window.run("document.querySelectorAll('.card-name')[1].click()")
        self.assertEqual(window.run("[...document.querySelectorAll('[data-link]')].map((each) => each.textContent)"),
                         ["PCI Slot 2"] + [f"BUS(59)DEV(0)FN({i})" for i in range(4)])
        window.run("document.querySelector('[data-link]').click()")
        self.assertEqual(window.run("document.getElementById('detail-name').textContent"), "PCI Slot 2")

    def test_a_class_that_failed_is_told_and_its_things_do_not_look_empty(self):
        _, answer = show(ROOT / "machines" / "no-smbios.json")
        self.assertEqual(answer.code, 1)
        self.assertEqual(window.run("[...document.querySelectorAll('.failures li')].map((each) => each.textContent)"),
                         ["Velk_SystemPCISlot: WBEM_E_FAILED (0x80041001)"])
        self.assertIn("Its slots could not be read.", window.run("document.getElementById('slots').textContent"))

    def test_many_functions_on_many_devices_are_all_there(self):
        told, _ = show(machine_file("big", big_machine(256)))
        self.assertEqual(told["classes"]["Velk_PCIDevice"]["count"], 256)
        opened = window.run(CLICK % 17)
        self.assertEqual(len(opened), len({each["path"] for each in opened}))
        self.assertEqual(window.run("document.querySelectorAll('.function').length"), 256)
        self.check_quiet()


class Use(PageCase):
    def shown(self) -> int:
        return window.run("document.querySelectorAll('[data-find]:not([hidden])').length")

    def type(self, text: str):
        window.run("document.activeElement.blur()")
        window.press("/")
        for letter in text:
            window.press(letter)

    def test_search_narrows_to_what_is_like_it(self):
        show(SERVER)
        everything = self.shown()
        self.assertEqual(everything, 6 + 32)
        self.type("8086:1572")
        self.assertEqual(self.shown(), 1 + 4, "the slot of the card and its four functions")
        self.assertEqual(window.run("document.getElementById('hits').textContent"), "5 of 38")
        window.press("Escape")
        self.assertEqual(self.shown(), everything)
        self.type("slot 3")
        self.assertEqual(window.run("[...document.querySelectorAll('.slot:not([hidden]) .number')].map((e) => e.textContent)"),
                         ["3"])
        self.type("port ethernet")
        self.assertEqual(self.shown(), 1 + 4 + 2, "both words anywhere")
        self.type("nothing of the kind")
        self.assertEqual((self.shown(), window.run("document.getElementById('nothing').checkVisibility()")), (0, True))

    def test_keys_reach_everything(self):
        show(SERVER)
        self.type("raid")
        window.press("ArrowDown")
        window.press("ArrowDown")
        focused = "document.activeElement.textContent"
        self.assertEqual(window.run(focused), "PCI Card 1")
        window.press("Enter")
        self.assertEqual(window.run("[document.activeElement.id, document.activeElement.textContent]"),
                         ["detail-name", "PCI Card 1"])
        window.press("Tab")
        self.assertEqual(window.run("document.activeElement.id"), "close")
        window.press("Escape")
        self.assertEqual((window.run(focused), window.run("document.getElementById('detail').hidden")),
                         ("PCI Card 1", True))
        window.press("ArrowUp")
        self.assertIn("PCI Slot 1", window.run(focused))

    def test_everything_that_can_be_used_has_a_name(self):
        show(SERVER)
        window.run("document.querySelector('.socket').click()")
        nodes = window.call("Accessibility.getFullAXTree")["nodes"]
        used = [each for each in nodes if each.get("role", {}).get("value") in ("button", "searchbox", "link", "complementary")]
        self.assertGreater(len(used), 60)
        self.assertEqual([each for each in used if not each.get("name", {}).get("value")], [])


class Looks(PageCase):
    MACHINES = [SERVER] + [ROOT / "machines" / f"{name}.json" for name in ("server-of-2024", "no-smbios")]

    def test_nothing_is_wider_than_the_window(self):
        wide = "document.documentElement.scrollWidth - document.documentElement.clientWidth"
        for machine in self.MACHINES + [machine_file("hostile", hostile_machine())]:
            for width in (320, 400, 800, 1280):
                with self.subTest(machine=machine.stem, width=width):
                    window.resize(width)
                    show(machine)
                    self.assertEqual(window.run(wide), 0)
                    window.run("document.querySelector('.row').click()")
                    self.assertEqual(window.run(wide), 0)
                    self.assertEqual(window.run("document.getElementById('detail').scrollWidth - "
                                                "document.getElementById('detail').clientWidth"), 0)

    def test_texts_stand_out_in_light_and_dark(self):
        for machine in self.MACHINES:
            for scheme in ("light", "dark"):
                with self.subTest(machine=machine.stem, scheme=scheme):
                    window.prefer(scheme)
                    show(machine)
                    window.run("document.querySelector('.row').click()")
                    self.assertEqual(window.run(CONTRAST), [])

    def test_the_button_turns_the_page_dark_and_light_again(self):
        show(SERVER)
        press = "document.getElementById('theme').click(), getComputedStyle(document.body).backgroundColor"
        light = window.run("getComputedStyle(document.body).backgroundColor")
        self.assertNotEqual(window.run(press), light)
        self.assertEqual(window.run(press), light)

    def test_a_print_has_no_panel_and_no_search(self):
        show(SERVER)
        window.run("document.querySelector('.row').click()")
        window.prefer("dark", "print")
        self.assertEqual(window.run("['detail', 'search'].map((id) => document.getElementById(id).checkVisibility())"),
                         [False, False])
        self.assertEqual(window.run("getComputedStyle(document.body).backgroundColor"), "rgb(255, 255, 255)")


PROGRAM = browser.find_browser()

if __name__ == "__main__":
    if PROGRAM is None:
        print(f"SKIPPED: the page was NOT tried in a browser, for there is none ({', '.join(browser.NAMES)}). "
              "Debian's package is chromium.", file=sys.stderr)
        sys.exit(SKIPPED)
    unittest.main()
