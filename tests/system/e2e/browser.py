"""A Chromium without a display, driven by its devtools protocol over two pipes: nothing listens on the network."""

import base64
import fcntl
import json
import os
import pathlib
import select
import shutil
import subprocess
import tempfile
import time

NAMES = ("chromium", "chromium-browser", "google-chrome", "google-chrome-stable")
TIMEOUT = 60


def find_browser():
    """The first browser of those names that starts: on Ubuntu `chromium-browser` may be a stub that only says how to
    install one."""
    for name in NAMES:
        program = shutil.which(name)
        if program is None:
            continue
        with tempfile.TemporaryDirectory(prefix="velk-browser-") as home:
            told = subprocess.run([program, "--version"], capture_output=True, text=True, timeout=TIMEOUT,
                                  env={**os.environ, "HOME": home}, check=False)
        if told.returncode == 0 and told.stdout.strip():
            return program
    return None


class Browser:
    """One page of a browser with a profile of its own, which goes with it."""

    def __init__(self, program: str):
        self.folder = tempfile.TemporaryDirectory(prefix="velk-browser-", ignore_cleanup_errors=True)
        read_end, browser_writes = os.pipe()
        browser_reads, write_end = os.pipe()
        # The browser reads from 3 and writes to 4, whatever numbers the pipes have here.
        high = [fcntl.fcntl(end, fcntl.F_DUPFD, 20) for end in (browser_reads, browser_writes)]
        arguments = [program, "--headless", "--disable-gpu", "--hide-scrollbars", "--remote-debugging-pipe", "--no-first-run",
                     "--disable-background-networking", "--disable-component-update", "--disable-dev-shm-usage",
                     f"--user-data-dir={self.folder.name}/profile", "about:blank"]
        # Its sandbox needs a user without rights who may make namespaces; the pages here are ours.
        arguments.insert(1, "--no-sandbox")
        self.process = subprocess.Popen(
            arguments, env={**os.environ, "HOME": self.folder.name, "XDG_CONFIG_HOME": self.folder.name,
                            "XDG_CACHE_HOME": self.folder.name},
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, pass_fds=(3, 4),
            preexec_fn=lambda: (os.dup2(high[0], 3), os.dup2(high[1], 4)))
        for end in (browser_writes, browser_reads, *high):
            os.close(end)
        self.read_end, self.write_end = read_end, write_end
        self.buffer = b""
        self.last_id = 0
        self.session = None
        self.events = []
        targets = self.call("Target.getTargets")["targetInfos"]
        page = next(each["targetId"] for each in targets if each["type"] == "page")
        self.session = self.call("Target.attachToTarget", targetId=page, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(f"{domain}.enable")

    def close(self):
        try:
            self.session = None
            self.call("Browser.close")
            self.process.wait(timeout=10)
        except (OSError, RuntimeError, TimeoutError, subprocess.TimeoutExpired):
            self.process.kill()
            self.process.wait()
        os.close(self.read_end)
        os.close(self.write_end)
        self.folder.cleanup()

    def call(self, method: str, **parameters):
        self.last_id += 1
        message = {"id": self.last_id, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.write_end, json.dumps(message).encode() + b"\0")
        return self.wait(lambda each: each.get("id") == self.last_id, method)

    def wait(self, is_it, what: str):
        """The result of the message that is meant; what comes before it are events."""
        deadline = time.monotonic() + TIMEOUT
        while True:
            while b"\0" in self.buffer:
                line, self.buffer = self.buffer.split(b"\0", 1)
                message = json.loads(line)
                if "error" in message:
                    raise RuntimeError(f"{what}: {message['error']}")
                if "method" in message:
                    self.events.append(message)
                if is_it(message):
                    return message.get("result")
            ready, _, _ = select.select([self.read_end], [], [], max(0, deadline - time.monotonic()))
            if not ready:
                raise TimeoutError(f"the browser did not answer {what} in {TIMEOUT} seconds")
            more = os.read(self.read_end, 1 << 20)
            if not more:
                raise RuntimeError(f"the browser ended during {what}")
            self.buffer += more

    def open(self, file: pathlib.Path):
        self.events.clear()
        self.call("Page.navigate", url=file.resolve().as_uri())
        if not any(each["method"] == "Page.loadEventFired" for each in self.events):
            self.wait(lambda each: each.get("method") == "Page.loadEventFired", f"opening {file.name}")

    def run(self, script: str):
        """The value of an expression in the page."""
        told = self.call("Runtime.evaluate", expression=script, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in told:
            raise RuntimeError(json.dumps(told["exceptionDetails"])[:600])
        return told["result"].get("value")

    def press(self, key: str, text: str = ""):
        """A key of the keyboard, as a person presses it."""
        code = {"Enter": 13, "Tab": 9, "Escape": 27, "ArrowDown": 40, "ArrowUp": 38}.get(key, 0)
        parameters = {"key": key, "windowsVirtualKeyCode": code}
        text = text or {"Enter": "\r"}.get(key, key if len(key) == 1 else "")
        self.call("Input.dispatchKeyEvent", type="keyDown" if text else "rawKeyDown", text=text, **parameters)
        self.call("Input.dispatchKeyEvent", type="keyUp", **parameters)

    def resize(self, width: int, height: int = 900):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)

    def prefer(self, scheme: str, media: str = ""):
        self.call("Emulation.setEmulatedMedia", media=media,
                  features=[{"name": "prefers-color-scheme", "value": scheme}])

    def complaints(self) -> list:
        """What went wrong in the page since it was opened: errors of scripts, and what a policy refused."""
        found = [each["params"] for each in self.events if each["method"] == "Runtime.exceptionThrown"]
        return found + [each["params"]["entry"]["text"] for each in self.events
                        if each["method"] == "Log.entryAdded" and each["params"]["entry"]["level"] in ("error", "warning")]

    def requests(self) -> list:
        return [each["params"]["request"]["url"] for each in self.events
                if each["method"] == "Network.requestWillBeSent"]

    def picture(self, file: pathlib.Path):
        """The page as it is seen, from its top to its end."""
        size = self.call("Page.getLayoutMetrics")["cssContentSize"]
        told = self.call("Page.captureScreenshot", captureBeyondViewport=True,
                         clip={"x": 0, "y": 0, "width": size["width"], "height": size["height"], "scale": 1})
        file.write_bytes(base64.b64decode(told["data"]))
