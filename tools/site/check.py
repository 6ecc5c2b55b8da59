"""check.py SITE: links and pictures lead somewhere within the site, nothing is asked of the network, and in Chromium
every page's diagrams are drawn and the search finds a function, from the files alone."""
import html
import json
import re
import subprocess
import sys
import tempfile
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urlsplit


class Page(HTMLParser):
    def __init__(self, file):
        super().__init__()
        self.file, self.ids, self.links, self.loads, self.diagrams = file, set(), set(), set(), 0
        self.feed(file.read_text("utf-8"))

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        self.ids |= {values["id"]} if "id" in values else set()
        self.diagrams += tag == "pre" and values.get("class") == "mermaid"
        if tag == "a" and values.get("href"):
            self.links.add(values["href"])
        elif values.get("src") or tag == "link" and values.get("rel") in ("stylesheet", "icon"):
            self.loads.add(values.get("src") or values["href"])


def broken(pages):
    for page in pages.values():
        for link in page.links | page.loads:
            parts = urlsplit(link)
            if parts.scheme or parts.netloc:
                if link in page.loads:
                    yield f"{page.file}: loads {link}"
                continue
            target = (page.file.parent / unquote(parts.path)).resolve() if parts.path else page.file
            if not target.exists():
                yield f"{page.file}: no {link}"
            elif parts.fragment and target in pages and unquote(parts.fragment) not in pages[target].ids:
                yield f"{page.file}: no heading {link}"


# Loads each page in a frame and reports what it became.
DRIVER = """<body><pre id="seen"></pre><script>
const wait = (ms) => new Promise((done) => setTimeout(done, ms));
async function look(page) {
  const frame = document.body.appendChild(document.createElement('iframe'));
  frame.style = 'width: 1300px; height: 900px';
  await new Promise((done) => { frame.onload = done; frame.src = page.url; });
  const inside = frame.contentDocument, all = (what) => [...inside.querySelectorAll(what)];
  const drawn = () => all('div.mermaid').filter((each) => each.offsetHeight > 50).length;
  for (let i = 0; i < 100 && drawn() < page.diagrams; ++i) await wait(100);
  const seen = { url: page.url, drawn: drawn(), wanted: page.diagrams,
    broken: all('img').filter((each) => each.complete && !each.naturalWidth).map((each) => each.src),
    outside: frame.contentWindow.performance.getEntriesByType('resource').map((each) => each.name)
      .filter((name) => !name.startsWith('file:')) };
  frame.remove();
  return seen;
}
(async () => {
  const seen = [];
  for (const page of PAGES) seen.push(await look(page));
  document.getElementById('seen').textContent = JSON.stringify(seen);
})();
</script>"""


def dump(url, *options):
    with tempfile.TemporaryDirectory() as profile:
        return subprocess.run(
            ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--host-resolver-rules=MAP * ~NOTFOUND",
             f"--user-data-dir={profile}", "--dump-dom", "--virtual-time-budget=120000", *options, url],
            capture_output=True, text=True, timeout=300, check=True).stdout


def look(pages):
    asked = [{"url": page.file.as_uri(), "diagrams": page.diagrams} for page in pages.values()]
    with tempfile.TemporaryDirectory() as folder:
        driver = Path(folder, "driver.html")
        driver.write_text(DRIVER.replace("PAGES", json.dumps(asked)))
        dom = dump(driver.as_uri(), "--allow-file-access-from-files")
    seen = html.unescape(re.search(r'<pre id="seen">(.*?)</pre>', dom, re.S).group(1))
    return json.loads(seen or "[]")


def main(site):
    files = sorted(Path(site).resolve().rglob("*.html"))
    pages = {file: Page(file) for file in files if file.name != "404.html" and "examples" not in file.parts}
    faults = list(broken(pages))
    seen = look(pages)
    if len(seen) != len(pages):
        faults.append(f"Chromium has seen {len(seen)} of {len(pages)} pages")
    for page in seen:
        faults += [f"{page['url']}: loads {name}" for name in page["outside"]]
        faults += [f"{page['url']}: no picture {name}" for name in page["broken"]]
        if page["drawn"] != page["wanted"]:
            faults.append(f"{page['url']}: {page['drawn']} of {page['wanted']} diagrams are drawn")
    # As a reader's own Chromium would open it: a page that may fetch nothing.
    searched = dump(Path(site, "index.html").resolve().as_uri() + "?q=UTNewDataGroup")
    if not re.search(r'href="[^"]*UTNewDataGroup.html[^"]*" class="md-search-result__link"', searched):
        faults.append("the search does not find UTNewDataGroup")
    print("\n".join(faults) or f"{len(pages)} pages, {sum(page['drawn'] for page in seen)} diagrams: all well")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
