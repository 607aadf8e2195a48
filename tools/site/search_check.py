#!/usr/bin/env python3
"""Types into the search box of the built site, in a browser, and looks at what it lists first.

    tools/site/search_check.py PAGE
"""

import pathlib
import shutil
import sys

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By

# What people type, and the title and page of the first result.
FIRST = {
    "median": ("Median", ""),
    "ko::Median": ("Median()", "Median"),
    "ko.median": ("ko.median", ""),
    "ko median": ("ko median", "The tool ko"),
    "ks.Series": ("ks.Series", ""),
    "CallThreads": ("CallThreads", ""),
    "waitUntilIdle": ("waitUntilIdle()", "IxPipeItem"),
    "thresold": ("Thresholds", "Python functions"),
    "xyzzy": None,
}


def results(browser, text):
    """The titles and pages that the box lists for a text."""
    box = browser.find_element(By.ID, "search-box")
    box.clear()
    box.send_keys(text)
    links = browser.find_elements(By.CSS_SELECTOR, "#search-results a")
    return [tuple(link.find_element(By.TAG_NAME, tag).text for tag in ("strong", "em")) for link in links]


def open_browser():
    options = Options()
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage"):
        options.add_argument(argument)
    return webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)


def main(page):
    browser = open_browser()
    try:
        browser.get(pathlib.Path(page).resolve().as_uri())
        found = {text: next(iter(results(browser, text)), None) for text in FIRST}
    finally:
        browser.quit()
    wrong = [f"{text}: {found[text]} comes first, not {first}" for text, first in FIRST.items() if found[text] != first]
    sys.exit("\n".join(wrong) or None)


if __name__ == "__main__":
    main(*sys.argv[1:])
