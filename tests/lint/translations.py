#!/usr/bin/env python3
"""The texts that a person sees: all of them pass through the translation layer, and every language has them."""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as xml

import tree

FOLDERS = ["app", "session", "drive", "share", "transfer", "bridge", "ui", "crashdialog", "imports"]
LANGUAGES = "resources/Language"
PAGE = "service/web/files"
# English is the language of the sources; its file may leave out what needs no translation.
COMPLETE = ["zh_cn", "zh_tw"]

PLACEHOLDER = re.compile(r"%(?:L?\d+|n)")
MNEMONIC = re.compile(r"&(?=[^&\s])")

# Calls whose argument is read by a person, and literals in them that are not words of the interface.
SHOWN = re.compile(r"\b(?:setText|setTitle|setWindowTitle|addAction|addMenu|addTab|setTabText|setToolTip|setStatusTip|"
                   r"setWhatsThis|setPlaceholderText|setAccessibleName|setAccessibleDescription|setButtonText|showNotice|"
                   r"tell|ask|showMessage|"
                   r"new Q(?:Action|CheckBox|GroupBox|Label|Menu|PushButton|RadioButton|ToolButton))\s*\(")
LITERAL = re.compile(r'"((?:[^"\\\n]|\\.)*)"')
PASSED = re.compile(r"(?:\btr|\btranslate|\bQT_TR_NOOP|\bQT_TRANSLATE_NOOP|\bSIGNAL|\bSLOT|\bproperty|\bicon\w*|\bIcon\w*|"
                    r"\bsetObjectName|\bfindChild\w*)\s*(?:<[^<>]*>\s*)?\((?:[^()]|\([^()]*\))*\)")
NOT_WORDS = re.compile(r"^(?::/|<|\s*%|\\u[0-9a-f]{4}$)|^[a-z]+_\w*$|^[^A-Za-z]*$")
ALLOWED = {
    "NRX Net Disk",  # the name of the main window, the same in every language
    "NRX.zip",       # a file name
    "ok", "cancel",  # names of buttons in calls that carry a translated text beside them
    "ArkvaleTolma is crashed!", "app crash", "OK",  # what the crash dialog says when it was started without texts
}
LITERAL_FOLDERS = ("app/", "session/", "drive/", "share/", "transfer/", "bridge/", "ui/", "crashdialog/")


def language_files():
    folder = os.path.join(tree.TOP, LANGUAGES)
    return sorted(name for name in os.listdir(folder) if name.endswith(".ts"))


def messages(path):
    """(context, source, comment) -> message element"""
    found = {}
    for context in xml.parse(path).getroot().findall("context"):
        for message in context.findall("message"):
            found[(context.findtext("name"), message.findtext("source"), message.findtext("comment"))] = message
    return found


def source_messages(folder, locale):
    """What the sources hold now, by a fresh file of that locale."""
    path = os.path.join(folder, "sources.ts")
    if os.path.exists(path):
        os.remove(path)
    subprocess.run(["lupdate", "-silent", "-locations", "none", "-target-language", locale, *FOLDERS, "-ts", path],
                   cwd=tree.TOP, check=True)
    return messages(path)


def compare(name, key, message):
    """Faults of one translation against its source."""
    context, source, _ = key
    where = f"{LANGUAGES}/{name}: {context}: \"{source}\""
    translation = message.find("translation")
    kind = translation.get("type") if translation is not None else "unfinished"
    if kind == "unfinished":
        return [f"{where}: not translated"]
    if kind in ("vanished", "obsolete"):
        return [f"{where}: no longer in the sources"]
    forms = [form.text or "" for form in translation.findall("numerusform")] or [translation.text or ""]
    faults = []
    for form in forms:
        if not form.strip():
            faults.append(f"{where}: an empty translation")
        elif sorted(set(PLACEHOLDER.findall(form))) != sorted(set(PLACEHOLDER.findall(source))):
            faults.append(f"{where}: other placeholders in \"{form}\"")
        elif len(MNEMONIC.findall(form)) != len(MNEMONIC.findall(source)):
            faults.append(f"{where}: other mnemonics in \"{form}\"")
        elif (source != source.lstrip()) != (form != form.lstrip()):
            faults.append(f"{where}: \"{form}\" is put behind other text and must begin with a blank as well")
    return faults


def argument(text, start):
    """The text between the bracket before start and the one that closes it."""
    depth, i, quoted = 1, start, False
    while i < len(text) and depth:
        if text[i] == "\\" and quoted:
            i += 1
        elif text[i] == '"':
            quoted = not quoted
        elif not quoted:
            depth += {"(": 1, ")": -1}.get(text[i], 0)
        i += 1
    return text[start:i - 1]


def literals(path):
    """Words that a call shows to a person without the translation layer."""
    text = re.sub(r"(?<!:)//[^\n]*", "", tree.read(path))
    for call in SHOWN.finditer(text):
        shown = PASSED.sub("", argument(text, call.end()))
        for literal in LITERAL.finditer(shown):
            words = literal.group(1)
            if words not in ALLOWED and not NOT_WORDS.match(words) and not re.fullmatch(r" \([\w+ ]+\)", words):
                yield f"{path}:{text.count(chr(10), 0, call.start()) + 1}: \"{words}\" is shown but not translated"


def page_texts():
    """Faults in the words of the service's web page: each is in both languages, and none there is left over."""
    html, script, words = (tree.read(f"{PAGE}/{name}") for name in ("index.html", "page.js", "texts.js"))
    used = set(re.findall(r'data-tr(?:-label)?="([^"]+)"', html))
    used |= {text for text in re.findall(r'"((?:[^"\\\n]|\\.)+)"', script) if re.match(r"[A-Z]\S* \S", text)}
    used |= set(re.findall(r'\btr\("([^"]+)"', script))
    for code, entries in re.findall(r'^  "(zh-\w+)": \{(.*?)^  \}', words, re.M | re.S):
        held = dict(re.findall(r'"((?:[^"\\\n]|\\.)+)":\s+"((?:[^"\\\n]|\\.)+)"', entries))
        for text in sorted(used ^ set(held)):
            yield f"{PAGE}/texts.js: {code}: \"{text}\" " + ("is missing" if text in used else "is not used")
        for text, told in held.items():
            if sorted(PLACEHOLDER.findall(text)) != sorted(PLACEHOLDER.findall(told)):
                yield f"{PAGE}/texts.js: {code}: \"{text}\": other placeholders"
    if len(used) < 25 or words.count("zh-Hant") < 1:
        yield f"{PAGE}: its words were not found"


def main():
    faults = list(page_texts())
    names = language_files()
    for code in COMPLETE + ["en_us"]:
        if not any(code in name for name in names):
            faults.append(f"{LANGUAGES}: no file for {code}")
    count = 0
    with tempfile.TemporaryDirectory() as folder:
        for name in names:
            path = os.path.join(tree.TOP, LANGUAGES, name)
            copy = os.path.join(folder, name)
            shutil.copyfile(path, copy)
            held = messages(copy)
            locale = xml.parse(copy).getroot().get("language", "")
            if locale.lower() not in name:
                faults.append(f"{LANGUAGES}/{name}: is of the language \"{locale}\"")
            wanted = source_messages(folder, locale)
            count = max(count, len(wanted))
            if locale.lower() in COMPLETE:
                faults += [f"{LANGUAGES}/{name}: {context}: \"{source}\" is missing (run lupdate)"
                           for context, source, comment in wanted if (context, source, comment) not in held]
            elif any(message.get("numerus") == "yes" and key not in held for key, message in wanted.items()):
                faults.append(f"{LANGUAGES}/{name}: plural forms are missing (run lupdate -pluralonly)")
            for key, message in held.items():
                if key not in wanted:
                    faults.append(f"{LANGUAGES}/{name}: {key[0]}: \"{key[1]}\" is no longer in the sources (run lupdate)")
                else:
                    faults += compare(name, key, message)
    if count < 100:
        faults.append(f"only {count} texts found in the sources: lupdate did not read them")
    for path in tree.files(".cpp", ".h"):
        if path.startswith(LITERAL_FOLDERS):
            faults += literals(path)
    return tree.report(faults, f"{count} texts in {len(names)} languages")


if __name__ == "__main__":
    sys.exit(main())
