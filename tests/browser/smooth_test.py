"""How long frames and changes take with 2304 destinations and 2304 sources. Times for which nobody ran are left out."""

import statistics
import time
import unittest

from panel_case import PanelCase
from waiting import StallMeter, wait_until

LONGEST_FRAME_S = 0.1
LONGEST_CHANGE_S = 0.1

# Scrolls for some frames; each frame's beginning and end in seconds since 1970, by requestAnimationFrame and by the browser's
# own record of long frames.
SCROLL = """
const [id, frames, draw, done] = arguments;
const list = document.getElementById(id);
const since = (time) => (performance.timeOrigin + time) / 1000;
const seen = [];
const watch = new PerformanceObserver((found) => found.getEntries().forEach((entry) =>
  seen.push([since(entry.startTime), since(entry.startTime + entry.duration)])));
watch.observe({type: "long-animation-frame"});
const act = draw ? new Function("frame", draw) : (frame) => list.scrollTo(frame * 61, frame * 173 % (list.scrollHeight - list.clientHeight));
let frame = 0;
let last = performance.now();
const step = () => {
  const now = performance.now();
  seen.push([since(last), since(now)]);
  last = now;
  if (frame++ < frames) {
    act(frame);
    requestAnimationFrame(step);
  } else {
    setTimeout(() => { watch.disconnect(); done(seen); }, 100);
  }
};
requestAnimationFrame(step);
"""

# What a page would do that draws every crosspoint, seen or not.
DRAW_ALL = """
const context = window.allDrawn ??= new OffscreenCanvas(2304, 2304).getContext("2d");
for (let output = 0; output < 2304; output++) {
  for (let input = 0; input < 2304; input++) {
    context.fillStyle = (output + input + frame) % 2 ? "#000" : "#fff";
    context.fillRect(input, output, 1, 1);
  }
}
"""


class SmoothTest(PanelCase):
    def frames(self, element, count, draw=None):
        """Seconds of each frame, without those for which the machine ran nobody."""
        with StallMeter() as meter:
            spans = self.driver.execute_async_script(SCROLL, element, count, draw)
        return [end - begin - meter.stalled(begin, end) for begin, end in spans], [end - begin for begin, end in spans]

    def fresh(self, view="matrix"):
        """The page with the level that has the most crosspoints."""
        super().fresh(view)
        self.driver.find_element("css selector", "[data-level='2']").click()
        wait_until(lambda: "2304 destinations" in self.page.text("destination-count"), "the large level")
        return self.page

    def test_scrolling_all_crosspoints_is_smooth(self):
        self.chain.do("take", *(f"2:{number}:{number}" for number in range(1, 500)))
        self.fresh()
        own, whole = self.frames("matrix", 240)
        print(f"matrix: median {statistics.median(whole) * 1000:.1f} ms, longest {max(whole) * 1000:.1f} ms, "
              f"{max(own) * 1000:.1f} ms without the machine's own stalls")
        self.assertLess(max(own), LONGEST_FRAME_S)
        self.assertIn("output ", self.page.text("where"))

    def test_scrolling_the_lists_is_smooth(self):
        self.fresh("xy")
        own, whole = self.frames("destinations", 120)
        print(f"list: median {statistics.median(whole) * 1000:.1f} ms, longest {max(whole) * 1000:.1f} ms, "
              f"{max(own) * 1000:.1f} ms without the machine's own stalls")
        self.assertLess(max(own), LONGEST_FRAME_S)
        self.assertLess(len(self.driver.find_elements("css selector", "#destinations [role=option]")), 80)

    def test_meter_notices_a_page_that_draws_everything(self):
        self.fresh()
        own, _ = self.frames("matrix", 1, DRAW_ALL)
        print(f"everything drawn: longest {max(own) * 1000:.0f} ms")
        self.assertGreater(max(own), LONGEST_FRAME_S)

    def test_changes_on_the_bus_appear_soon(self):
        self.fresh("xy")
        # The page notes by itself when an item of its list changed.
        self.driver.execute_script("""window.shown = {};
            new MutationObserver(() => { const now = (performance.timeOrigin + performance.now()) / 1000;
              const text = document.getElementById("destinations-2").textContent; window.shown[text] ??= now; })
              .observe(document.getElementById("destinations"), {childList: true, subtree: true, characterData: true});""")
        late = []
        with StallMeter() as meter:
            for number in range(31, 51):
                told = time.time()
                self.chain.router.tell(f"status audio 2 {number}")
                self.page.wait_option("destinations", 2, f"← {number} ")
                shown = self.driver.execute_script("return Object.entries(shown).find(([text]) => text.includes(arguments[0]))[1]",
                                                   f"← {number} ")
                late.append(shown - told - meter.stalled(told, shown))
        print(f"a change: median {statistics.median(late) * 1000:.0f} ms, longest {max(late) * 1000:.0f} ms")
        self.assertLess(sorted(late)[-2], LONGEST_CHANGE_S)
