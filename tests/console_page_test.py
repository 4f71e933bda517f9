#!/usr/bin/env python3
"""The console's page in headless Chromium, in front of a running agent with some entries.

  console_page_test.py URL
  console_page_test.py PD_SHOW AGENT [ARGUMENT]...

The second form starts the agent and pd-show serve. In the arguments, SOCKET becomes the path of a socket and ROUTES that
of a list of routes. Without Chromium or Selenium, the test says so and ends with status 77.
"""

import atexit
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.request

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
    from selenium.webdriver.support.ui import Select, WebDriverWait
except ImportError:
    print("SKIP: python3-selenium isn't installed")
    sys.exit(77)
if not (shutil.which("chromium") and shutil.which("chromedriver")):
    print("SKIP: chromium or chromium-driver isn't installed")
    sys.exit(77)


def start(*command, **streams):
    process = subprocess.Popen([str(word) for word in command], text=True, **streams)

    def end():
        process.terminate()
        process.wait(60)
    atexit.register(end)
    return process


def serve(pd_show, *agent):
    """Starts the agent and a server in front of its console, and returns the server's URL."""
    folder = pathlib.Path(tempfile.mkdtemp())
    atexit.register(shutil.rmtree, folder)
    socket, routes = folder / "console", folder / "routes"
    routes.write_text("".join(f"10.{i}.0.0/16 1\n10.{i}.{i}.1 2\n10.{i}.{i}.0/24 3\n2001:db8:{i:x}:1::/64 4\n"
                              for i in range(1, 150)))
    start(*[{"SOCKET": socket, "ROUTES": routes}.get(word, word) for word in agent],
          stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
    deadline = time.monotonic() + 60
    while not socket.exists():
        assert time.monotonic() < deadline, "the agent has no console"
        time.sleep(0.1)
    server = start(pd_show, "--agent", socket, "serve", "--listen", "127.0.0.1:0", stdout=subprocess.PIPE)
    return server.stdout.readline().strip()


url = (sys.argv[1] if len(sys.argv) == 2 else serve(*sys.argv[1:])).rstrip("/") + "/"


def get(path):
    with urllib.request.urlopen(url + path) as answer:
        return json.load(answer)


def list_tables():
    return [table for table in get("v1/tables") if table["name"]]


tables = list_tables()
names = [table["name"] for table in tables]
# Of those with a column for each field. Agents that learn stations change two.
largest = max((table for table in tables if len(table["key"]) <= 4 and table["name"] not in ("l2Lookup", "l2LearningLookup")),
              key=lambda table: table["entries"] or 0)


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        options = webdriver.ChromeOptions()
        for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--window-size=1280,800"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        cls.browser = webdriver.Chrome(options=options, service=Service("/usr/bin/chromedriver"))
        cls.addClassCleanup(cls.browser.quit)

    def setUp(self):
        self.browser.get("about:blank")
        self.browser.get(url)
        self.wait(lambda: self.all(".box") and self.one("#live").text == "live")

    def tearDown(self):
        self.assertEqual([], self.browser.get_log("browser"))

    def one(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def all(self, selector):
        return self.browser.find_elements(By.CSS_SELECTOR, selector)

    def wait(self, condition):
        WebDriverWait(self.browser, 30).until(lambda _: condition())

    def texts(self, selector):
        script = "return [...document.querySelectorAll(arguments[0])].map(each => each.textContent)"
        return self.browser.execute_script(script, selector)

    def marked(self, mark):
        return set(self.texts(f".box.{mark} .name"))

    def press(self, *keys):
        self.browser.switch_to.active_element.send_keys(*keys)

    def open(self, name):
        self.one(f"[data-table={name}]").click()
        self.wait(lambda: self.all("#place") and self.one("#place").text not in ("", "Reading"))

    def column(self, number):
        return self.texts(f".scroll.tall td:nth-child({number + 1})")

    def test_the_drawing_has_all_tables_and_what_they_hold(self):
        self.assertEqual(names, self.texts(".box .name"))
        stages = list(dict.fromkeys((table["gress"], table["stage"]) for table in tables))
        self.assertEqual([stage for _, stage in stages], self.texts(".stage h3"))
        drawn = dict(zip(names, self.texts(".box .count")))
        now = list_tables()
        for table in tables:  # Some may change meanwhile, such as those that learn.
            if table["key"] and table["entries"] is not None and table in now:
                self.assertEqual(f"{table['entries']:,}", drawn[table["name"]], table["name"])
        drops = {counter["name"] for table in tables for counter in table["counters"] if "Drop" in counter["name"]}
        self.assertEqual(drops, set(self.texts(".drop .name")))
        self.wait(lambda: all(re.fullmatch(r"[\d,]+", text) for text in self.texts(".drop .sum")))

    def test_search_finds_names_fields_and_actions(self):
        for word in (largest["name"], largest["key"][0]["name"], largest["actions"][0]):
            self.press("/")
            self.press(Keys.CONTROL, "a")
            self.press(word.upper())
            dim = self.marked("dim")
            for table in tables:
                texts = [table["name"], table["profile"] or "", *table["actions"]]
                texts += [each["name"] for each in table["key"] + table["counters"]]
                self.assertEqual(not any(word.lower() in text.lower() for text in texts), table["name"] in dim, table)
        self.press(Keys.ESCAPE)
        self.assertEqual(set(), self.marked("dim"))

    def test_keys_move_open_and_close(self):
        self.press("/")
        columns = len({box.location["x"] for box in self.all(".box")})
        for key, name in ((Keys.ARROW_DOWN, names[0]), (Keys.ARROW_RIGHT, names[1]),
                          (Keys.ARROW_DOWN, names[columns + 1]), (Keys.ARROW_UP, names[1]), (Keys.END, names[-1]),
                          (Keys.ARROW_LEFT, names[-2])):
            self.press(key)
            self.assertEqual(name, self.browser.switch_to.active_element.get_attribute("data-table"))
        self.press(Keys.ENTER)
        self.wait(lambda: self.one("#detail-title").text == names[-2])
        self.press(Keys.ESCAPE)
        self.assertFalse(self.one("#detail").is_displayed())
        self.assertEqual(names[-2], self.browser.switch_to.active_element.get_attribute("data-table"))

    def check_page(self, name, after=""):
        page = get(f"v1/tables/{name}/entries?limit=100{after}")
        self.assertEqual(["default" if entry["default"] else f"#{entry['handle']}" for entry in page], self.column(0))
        return page

    def test_a_table_shows_its_key_actions_and_pages_of_entries(self):
        name = largest["name"]
        self.open(name)
        parts = [part["name"] for field in get(f"v1/tables/{name}")["key"] for part in field["fields"]]
        self.assertEqual(parts, self.texts("[aria-label=Key] tbody td:first-child"))
        self.assertEqual(largest["actions"], self.texts("[aria-label=Actions] tbody td:first-child"))
        first = self.check_page(name)
        has_more = self.one("#next").is_enabled()
        self.assertEqual(largest["entries"] >= 100, has_more)
        if has_more:
            self.one("#next").click()
            self.wait(lambda: self.column(0)[0] != f"#{first[0]['handle']}" and self.one("#place").text != "Reading")
            self.check_page(name, f"&after={first[-1]['handle']}")
        asked = self.browser.execute_script("return performance.getEntriesByType('resource').map(each => each.name)")
        entries = [each for each in asked if "/entries" in each]
        self.assertEqual(1 + has_more, len(entries), entries)
        self.assertTrue(all("limit=100" in each for each in entries), entries)

    def test_split_addresses_are_whole(self):
        for table in tables:
            if not table["entries"] or not get(f"v1/tables/{table['name']}")["partition"]:
                continue
            self.open(table["name"])
            page = get(f"v1/tables/{table['name']}/entries?limit=100")
            self.assertEqual([entry.get("prefix", "") for entry in page],
                             self.column(self.texts(".scroll.tall th").index("Whole address")))

    def test_entries_are_filtered_by_what_they_show(self):
        self.open(largest["name"])
        field = largest["key"][-1]["name"]
        column = self.texts(".scroll.tall th").index(field)
        wanted = self.column(column)[0]
        Select(self.one("#filter select")).select_by_value(field)
        self.one("#filter input").send_keys(wanted, Keys.ENTER)
        self.wait(lambda: "with" in self.one("#place").text)
        self.assertEqual({wanted}, set(self.column(column)))
        self.one("#filter input").send_keys("bad", Keys.ENTER)
        self.wait(lambda: self.all(".part .bad"))
        self.assertIn(field, self.one(".part .bad").text)
        self.assertIn("400", "".join(each["message"] for each in self.browser.get_log("browser")))

    def test_verify_marks_what_differs(self):
        self.one("#verify").click()
        self.wait(lambda: self.one("#verdict").is_displayed())
        differing = {each["table"]: each["different"] for each in get("v1/verify") if each.get("different")}
        self.assertEqual(set(differing), self.marked("differs"))
        self.assertEqual(list(differing), self.texts("#detail .part h3"))
        total = sum(differing.values())
        self.assertIn("none differs" if total == 0 else f" {total:,} differ", self.one("#verdict").text)

    def test_colours_follow_the_system(self):
        colours = []
        for scheme in ("light", "dark"):
            self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia",
                                         {"features": [{"name": "prefers-color-scheme", "value": scheme}]})
            colours.append([self.one(each).value_of_css_property("background-color") for each in ("body", ".box")])
        self.assertTrue(all(light != dark for light, dark in zip(*colours)), colours)

    def test_an_agent_that_is_gone(self):
        conditions = {"latency": 0, "downloadThroughput": -1, "uploadThroughput": -1}
        self.browser.execute_cdp_cmd("Network.enable", {})
        for offline in (True, False):
            self.browser.execute_cdp_cmd("Network.emulateNetworkConditions", {"offline": offline, **conditions})
            self.wait(lambda gone=offline: self.one("#banner").is_displayed() == gone)
        self.assertEqual("live", self.one("#live").text)
        self.browser.get_log("browser")  # Chromium's complaints about the network


unittest.main(argv=sys.argv[:1])
