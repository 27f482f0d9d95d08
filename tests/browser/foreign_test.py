"""Pages of others in the same browser, what the page may load, and that it loads nothing else."""

import http.server
import json
import threading
import urllib.error
import urllib.request

from chain import ROOT
from panel_case import BRIEF_PORT, CLOSED_PORT, OPEN_PORT, TOKEN_PORT, PanelCase, Stage


class ForeignSite:
    """A page that somebody else serves on this machine, open in the same browser."""

    def __enter__(self):
        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                self.send_response(200)
                self.send_header("Content-Type", "text/html")
                self.end_headers()
                self.wfile.write(b"<!DOCTYPE html><title>somebody else's</title>")

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        return f"http://127.0.0.1:{self.server.server_port}"

    def __exit__(self, *_):
        self.server.shutdown()
        self.server.server_close()


class ForeignTest(PanelCase):
    def test_page_of_another_origin_presses_nothing_and_reads_nothing(self):
        panel = f"http://127.0.0.1:{OPEN_PORT}"
        press = """const done = arguments[2];
            fetch(arguments[0] + "/api/takes", {method: "POST", mode: arguments[1].mode, headers: {"Content-Type": arguments[1].type},
              body: JSON.stringify({coherent: false, takes: [{level: 1, output: 24, input: 5}]})})
              .then((answer) => done("read " + answer.type), (error) => done("failed"));"""
        with ForeignSite() as site:
            self.driver.get(site)
            for mode, kind in (("cors", "application/json"), ("cors", "text/plain"), ("no-cors", "text/plain")):
                self.assertEqual(self.driver.execute_async_script(press, panel, {"mode": mode, "type": kind}), "failed", (mode, kind))
            read = self.driver.execute_async_script("""fetch(arguments[0] + "/api/state").then(() => arguments[1]("read"),
                () => arguments[1]("failed"));""", panel)
            self.assertEqual(read, "failed")
        # The same by hand, where no browser helps: a foreign Origin and a name that only points here.
        body = json.dumps({"coherent": False, "takes": [{"level": 1, "output": 24, "input": 5}]}).encode()
        for header, value in (("Origin", "http://elsewhere.example"), ("Origin", "null"), ("Host", "rebound.example:8090")):
            request = urllib.request.Request(panel + "/api/takes", body, {"Content-Type": "application/json", header: value})
            with self.assertRaises(urllib.error.HTTPError) as refused:
                urllib.request.urlopen(request, timeout=5)
            self.assertEqual(refused.exception.code, 403)
            self.assertIn("text", json.load(refused.exception)["error"])
        self.assertNotEqual(self.chain.status(1, 24)[0], "5")

    def test_panel_cannot_be_framed(self):
        with ForeignSite() as site:
            self.driver.get(site)
            self.driver.execute_async_script("""const frame = document.createElement("iframe");
                frame.onload = () => arguments[1]();
                frame.src = arguments[0];
                document.body.append(frame);""", f"http://127.0.0.1:{OPEN_PORT}/")
            self.driver.switch_to.frame(self.driver.find_element("css selector", "iframe"))
            found = self.driver.find_elements("id", "matrix")
            self.driver.switch_to.default_content()
            self.assertEqual(found, [])

    def test_policy_allows_nothing_unsafe(self):
        with urllib.request.urlopen(f"http://127.0.0.1:{OPEN_PORT}/", timeout=5) as answer:
            policy = answer.headers["Content-Security-Policy"]
        self.assertNotIn("unsafe", policy)
        self.assertNotIn("*", policy)
        self.assertTrue("default-src 'none'" in policy or "default-src 'self'" in policy, policy)
        for file in (ROOT / "tools/korapanel/page").iterdir():
            for forbidden in ("innerHTML", "outerHTML", "insertAdjacentHTML", "document.write", "eval(", "https://"):
                self.assertNotIn(forbidden, file.read_text(), file.name)


class ZLastTest(PanelCase):
    """Looks back at what all tests before it did in the browser."""

    def test_no_other_host_was_asked(self):
        self.fresh()
        own = tuple(f"http://127.0.0.1:{port}/" for port in (OPEN_PORT, TOKEN_PORT, CLOSED_PORT, BRIEF_PORT))
        asked = Stage.requests.found()
        self.assertTrue(any("/page/main.js" in address for address in asked), asked)
        self.assertEqual([address for address in asked if address.startswith("http") and not address.startswith(own)
                          and not address.startswith("http://127.0.0.1:")], [])
        self.assertEqual([address for address in asked if not address.startswith(("http", "data:", "about:", "chrome"))], [])

    def test_browser_found_nothing_to_complain_of(self):
        found = [entry["message"] for entry in self.driver.get_log("browser")
                 if "Content Security Policy" in entry["message"] and "frame-ancestors" not in entry["message"]
                 or "Uncaught" in entry["message"]]
        self.assertEqual(found, [])
