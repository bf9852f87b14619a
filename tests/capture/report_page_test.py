#!/usr/bin/env python3
"""Opens the report of a fresh capture in headless Chromium: no script errors, every picture shows, the search works.

Usage: report_page_test.py TLR2_REPLAY COURTYARD. Exit code 77 where there is no Chromium.
"""
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

SKIPPED = 77

# Runs ahead of the page's own script and collects what goes wrong.
BEFORE = """<script>
window.pageErrors = [];
window.addEventListener('error', e => window.pageErrors.push(String(e.message || e.target.tagName)), true);
</script>"""

# Runs when all is loaded; leaves what it saw in an element of its own.
AFTER = """<script>
window.addEventListener('load', () => {
  const images = [...document.images];
  const box = document.getElementById('search');
  const list = document.getElementById('calls');
  const before = list.textContent.split('\\n').length;
  box.value = 'glBegin quads';
  box.dispatchEvent(new Event('input'));
  const hits = list.textContent.split('\\n').filter(l => l);
  box.value = 'no such call';
  box.dispatchEvent(new Event('input'));
  const seen = {
    errors: window.pageErrors,
    images: images.length,
    shown: images.filter(i => i.complete && i.naturalWidth > 0).length,
    charts: document.querySelectorAll('svg rect').length,
    external: document.querySelectorAll('[src^="http"],link[href^="http"]').length,
    rows: [...document.querySelectorAll('td.row')].map(cell => {
      const inside = cell.getBoundingClientRect(), boxes = [...cell.querySelectorAll('img')].map(i => i.getBoundingClientRect());
      return {pictures: boxes.length, inOneRow: boxes.every(b => b.top === boxes[0].top && b.right <= inside.right)};
    }),
    calls: before,
    hits: hits.length,
    everyHitFits: hits.every(l => l.includes('glBegin') && l.includes('GL_QUADS')),
    none: list.textContent.length,
    count: document.getElementById('count').textContent,
  };
  const out = document.createElement('pre');
  out.id = 'seen';
  out.textContent = JSON.stringify(seen);
  document.body.append(out);
});
</script></body>"""


def main() -> int:
    tool, courtyard = (pathlib.Path(p).resolve() for p in sys.argv[1:3])
    chromium = shutil.which("chromium") or shutil.which("chromium-browser")
    if chromium is None:
        print("SKIPPED: no chromium to open the page with")
        return SKIPPED
    with tempfile.TemporaryDirectory() as folder:
        home = pathlib.Path(folder)
        subprocess.run([courtyard, "--size", "200x120", "--frames", "4", "--step", "0.2", "--capture", "1-2"],
                       cwd=home, check=True, stdout=subprocess.DEVNULL)
        capture = next(home.glob("*.tlr2-capture"))
        # Every pixel shaded, unlike when it was captured: there are differences to show.
        done = subprocess.run([tool, "report", "--out", "report.html", "--maps", "0-1", "--kernel-mode", "0", capture.name],
                              cwd=home)
        page = (home / "report.html").read_text(encoding="utf-8")
        page = page.replace("<style>", BEFORE + "<style>", 1).replace("</body>", AFTER, 1)
        (home / "checked.html").write_text(page, encoding="utf-8")
        run = subprocess.run(
            [chromium, "--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars", f"--user-data-dir={home}/profile",
             "--virtual-time-budget=10000", "--dump-dom", (home / "checked.html").as_uri()],
            capture_output=True, text=True, timeout=300)
        found = re.search(r'<pre id="seen">(.*?)</pre>', run.stdout, re.S)
        if found is None:
            print(run.stderr[-2000:])
            print("the page's script did not run to its end")
            return 1
        seen = json.loads(found.group(1).replace("&amp;", "&").replace("&lt;", "<").replace("&gt;", ">"))
        print(json.dumps(seen, indent=1))
        # Two frames with three pictures each, five maps each, and the textures.
        checks = {
            "the frames differ": done.returncode == 1,
            "no script errors": seen["errors"] == [],
            "pictures are there": seen["images"] >= 2 * 3 + 2 * 5 + 5,
            "every picture shows": seen["shown"] == seen["images"],
            "a frame's pictures stand in a row": seen["rows"] == [{"pictures": 3, "inOneRow": True}] * 2,
            "charts are there": seen["charts"] >= 2 * 6,
            "nothing is fetched": seen["external"] == 0,
            "calls are listed": seen["calls"] > 100,
            "the search finds": 0 < seen["hits"] < seen["calls"] and seen["everyHitFits"],
            "the search hides": seen["none"] == 0 and seen["count"].startswith("0 of "),
        }
    failed = [name for name, good in checks.items() if not good]
    print("failed: " + ", ".join(failed) if failed else "the page opens, its pictures show, its search works")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
