#!/usr/bin/env python3
"""Checks the installation file against the rules of its format, the driver and itself.

    inf_test.py [FILE.inf]

The second test makes every mistake that the checks are for, one at a time, and sees them find it.
"""
import csv
import datetime
import pathlib
import re
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
CLASSES = {"MEDIA": "{4d36e96c-e325-11ce-bfc1-08002be10318}"}
DRIVERS_FOLDER = "12"
SYSTEM_FILES = {"usbaudio.sys"}
SYSTEM_VALUES = {"LowerFilters"}
FUNCTION_SERVICE = 0x2
NUMBER, NUMBER_IF_ABSENT, TEXTS = 0x00010001, 0x00010003, 0x00010000

# The directives whose values name sections, by the kind of section that they stand in; which of
# their values is the section's name, counted from the first or from the last.
INSTALL = {"CopyFiles": slice(None), "AddReg": slice(None), "DelFiles": slice(None),
           "DelReg": slice(None)}
SERVICES = {"AddService": slice(2, 3), "DelService": slice(0)}
HARDWARE = {"AddReg": slice(None)}
TABLES = ("Version", "SourceDisksNames", "SourceDisksFiles", "DestinationDirs", "Strings")


class Inf:
  """Sections by name; a line is its key, or None, and its values with the strings filled in."""

  def __init__(self, text):
    self.sections, self.examples, self.faults = {}, [], []
    self.strings_used = set()
    for number, line in enumerate(text.splitlines(), 1):
      self._read(line.strip(), number)
    self.strings = {key: values[0] for key, values in self.sections.get("Strings", [])}
    for name, lines in self.sections.items():
      self.sections[name] = [(self._fill(key), [self._fill(v) for v in values])
                             for key, values in lines]
    self.examples = [(name, [self._fill(v) for v in values]) for name, values in self.examples]

  def _read(self, line, number):
    is_example = line.startswith(";HK")
    content = re.match(r'((?:"[^"]*"|[^";])*)', line[1:] if is_example else line)[0].strip()
    if '"' in re.sub(r'"[^"]*"', "", line.partition(";")[0]):
      self.faults.append(f"line {number}: a quote is open")
    elif content.startswith("["):
      header = re.fullmatch(r"\[([\w.]+)\]", content)
      if not header or header[1] in self.sections:
        self.faults.append(f"line {number}: malformed or second section {content}")
      else:
        self.sections[header[1]] = []
    elif content and not self.sections:
      self.faults.append(f"line {number}: stands in no section")
    elif content:
      key, equals, rest = content.partition("=")
      if equals and not (key.strip() and rest.strip()):
        self.faults.append(f"line {number}: malformed {content}")
      fields = next(csv.reader([rest if equals else content], skipinitialspace=True), [""])
      values = [field.strip() for field in fields]
      section = list(self.sections)[-1]
      if is_example:
        self.examples.append((section, values))
      else:
        self.sections[section].append((key.strip() if equals else None, values))

  def _fill(self, text):
    def value_of(match):
      name = match[1]
      if name.isdigit():
        return match[0]
      self.strings_used.add(name)
      if name not in self.strings:
        self.faults.append(f"string {name} is not defined")
      return self.strings.get(name, "")
    return text and re.sub(r"%([^%]+)%", value_of, text)

  def lines(self, section):
    return self.sections.get(section, [])

  def values(self, section, key):
    """Of all lines of a section with the key, one list."""
    return [value for found, values in self.lines(section) if found == key for value in values]

  def value(self, section, key):
    return ",".join(self.values(section, key))

  def services(self, directive):
    return {values[0]: values for name in self.sections if name.endswith(".Services")
            for key, values in self.lines(name) if key == directive}

  def named_by(self, directive):
    return [name for section in self.sections for name in self.values(section, directive)]


def directives_of(section):
  if section.endswith(".Services"):
    return SERVICES
  return HARDWARE if section.endswith(".HW") else INSTALL


def install_sections(inf):
  """Those that the system looks for: of each device, and for the removal."""
  roots = {"DefaultUninstall.NTx86": (".Services",)}
  for _, (models, *systems) in inf.lines("Manufacturer"):
    for _, (install, *_ids) in inf.lines(".".join([models, *systems])):
      roots[install + ".NT"] = (".HW", ".Services")
  return [root + part for root, parts in roots.items() for part in ("", *parts)]


def reference_faults(inf):
  named = {"Manufacturer", *TABLES}
  named |= {".".join(values) for _, values in inf.lines("Manufacturer")}
  for section in install_sections(inf):
    named.add(section)
    for key, values in inf.lines(section):
      if key in ("Include", "Needs") and not section.endswith(".HW"):
        continue
      if key not in directives_of(section):
        yield f"{section}: unknown directive {key}"
        continue
      named |= set(values[directives_of(section)[key]])
  yield from (f"section {name} is missing" for name in sorted(named - set(inf.sections)))
  yield from (f"section {name} is named nowhere" for name in sorted(set(inf.sections) - named))
  yield from (f"string {name} is not used" for name in sorted(set(inf.strings) - inf.strings_used))
  for section in inf.sections:
    included = inf.values(section, "Include")
    if bool(included) != bool(inf.values(section, "Needs")):
      yield f"{section}: Include and Needs belong together"
    yield from (f"{section}: includes {name}" for name in included if not name.endswith(".inf"))


def version_faults(inf, file_name, project_version):
  expected = {"Signature": "$Windows NT$", "CatalogFile": f"{pathlib.Path(file_name).stem}.cat",
              "ClassGUID": CLASSES.get(inf.value("Version", "Class"))}
  for key, value in expected.items():
    if inf.value("Version", key) != value:
      yield f"Version: {key} is {inf.value('Version', key)}, not {value}"
  if not inf.value("Version", "Provider"):
    yield "Version: no Provider"
  date, _, version = inf.value("Version", "DriverVer").partition(",")
  try:
    datetime.datetime.strptime(date, "%m/%d/%Y")
  except ValueError:
    yield f"DriverVer: {date} is no date"
  if version != project_version + ".0":
    yield f"DriverVer: {version} is not the version {project_version}"


def model_faults(inf):
  for _, (models, *systems) in inf.lines("Manufacturer"):
    if systems != ["NTx86"]:
      yield "the models are not for 32-bit x86"
    for name, (_, *ids) in inf.lines(".".join([models, *systems])):
      if not name or not any(ids) or any(not re.match(r"USB\\", i) for i in ids if i):
        yield f"malformed model {ids}"
      if ids and "USB\\Class" in ids[0]:
        yield f"{ids[0]} would take every USB audio device"


def file_faults(inf):
  disks = {key for key, _ in inf.lines("SourceDisksNames")}
  sources = {key: values[0] for key, values in inf.lines("SourceDisksFiles")}
  yield from (f"{name} is on no disk" for name, disk in sources.items() if disk not in disks)
  yield from (f"disk {name} is empty" for name in sorted(disks - set(sources.values())))
  lists = {*inf.named_by("CopyFiles"), *inf.named_by("DelFiles")}
  folders = {key: values for key, values in inf.lines("DestinationDirs")}
  for name in sorted(lists ^ set(folders)):
    yield f"{name} has {'no files' if name in folders else 'no destination'}"
  yield from (f"{name} goes to {v}" for name, v in folders.items() if v != [DRIVERS_FOLDER])
  copied, deleted = files_in(inf, "CopyFiles"), files_in(inf, "DelFiles")
  yield from (f"{name} is copied from nowhere" for name in sorted(copied - set(sources)))
  yield from (f"{name} is not copied" for name in sorted(set(sources) - copied))
  yield from (f"{name} is not both copied and deleted" for name in sorted(copied ^ deleted))


def files_in(inf, directive):
  return {values[0] for name in inf.named_by(directive) for _, values in inf.lines(name)}


def service_faults(inf):
  added, own = inf.services("AddService"), set()
  for name, (_, flags, section) in added.items():
    for key, value in (("ServiceType", "1"), ("StartType", "3"), ("ErrorControl", "1")):
      if inf.value(section, key) != value:
        yield f"service {name}: {key} is not {value}"
    file = inf.value(section, "ServiceBinary").removeprefix(f"%{DRIVERS_FOLDER}%\\")
    is_own = file in files_in(inf, "CopyFiles")
    if not is_own and file not in SYSTEM_FILES:
      yield f"service {name}: its file {file} is not installed"
    if is_own:
      own.add(name)
    if bool(int(flags or "0", 16) & FUNCTION_SERVICE) == is_own:
      yield f"service {name}: only the class driver is the device's function"
  yield from (f"service {name} is not both added and deleted"
              for name in sorted(own ^ set(inf.services("DelService"))))
  filters = {v for name in inf.named_by("AddReg") for _, values in inf.lines(name)
             if values[2] == "LowerFilters" for v in values[4:]}
  yield from (f"{name} is not both a service and a filter" for name in sorted(own ^ filters))


def registry_faults(inf, sources):
  added = [(name, values) for name in inf.named_by("AddReg") for _, values in inf.lines(name)]
  removed = [tuple(values) for name in inf.named_by("DelReg") for _, values in inf.lines(name)]
  for section, values in added + inf.examples:
    if section not in inf.named_by("AddReg") or len(values) < 5:
      yield f"{section}: malformed {values}"
      continue
    root, key, value, flags, *data = values
    if value not in SYSTEM_VALUES and f'"{value}"' not in sources:
      yield f"{value} is no value of the driver"
    if not (int(flags, 16) == TEXTS and value in SYSTEM_VALUES or
            int(flags, 16) in (NUMBER, NUMBER_IF_ABSENT) and data[0].isdigit()):
      yield f"{value} has another type"
    # What lies in a device's own keys goes with the device.
    if root == "HKR" and not key:
      continue
    if root != "HKLM" or key_in_sources(key) not in sources:
      yield f"{root},{key} is no key of the driver"
    if (root, key) not in removed:
      yield f"{key} stays behind"
  for values in removed:
    root, key, *rest = values
    is_added = any(v[0] == root and (v[1] + "\\").startswith(key + "\\") for _, v in added)
    if rest or not is_added or "ZRPOPFLT" not in key.split("\\"):
      yield f"{root},{key} is removed and was not added"


def key_in_sources(key):
  return "\\\\Registry\\\\Machine\\\\" + key.replace("ZRPOPFLT", "%s").replace("\\", "\\\\")


def faults_of(text, file_name, project_version, sources):
  inf = Inf(text)
  return [*inf.faults, *reference_faults(inf), *version_faults(inf, file_name, project_version),
          *model_faults(inf), *file_faults(inf), *service_faults(inf),
          *registry_faults(inf, sources)]


# What is replaced, by what, and what the checks must say.
MISTAKES = (
    ("[Version]\n", "", "stands in no section"),
    ("[HardwareKey]", "[DriverKey]", "malformed or second section"),
    ('"Click filter for USB microphones"', '"Click filter', "a quote is open"),
    ("StartType     = 3", "StartType     =", "malformed StartType"),
    ("AddReg = HardwareKey", "AddReg = HardwareKeys", "section HardwareKey is named nowhere"),
    ("AddReg = HardwareKey", "AddReg = HardwareKeys", "section HardwareKeys is missing"),
    ("[FilteredMicrophone.NT.HW]", "[FilteredMicrophone.NT.HV]", "NT.HW is missing"),
    ("CopyFiles = DriverFiles", "CopyFile = DriverFiles", "unknown directive CopyFile"),
    ("[DefaultUninstall.NTx86.Services]", "[DefaultUninstall.Services]", "x86.Services is missing"),
    ("Needs     =", ";", "Include and Needs belong together"),
    ("wdma_usb.inf", "wdma_usb", "includes wdma_usb"),
    ("= %DiskName%", "= %DiscName%", "string DiscName is not defined"),
    ("= %DiskName%", "= Disk", "string DiskName is not used"),
    ("$Windows NT$", "$Windows$", "Signature is"),
    ("4d36e96c", "4d36e96d", "ClassGUID is"),
    ("Provider    = %Provider%\n", "", "no Provider"),
    ("= 11/24/2026", "= 24/11/2026", "is no date"),
    (",0.1.0.0", ",0.1.0", "is not the version"),
    ("Devices,NTx86", "Devices,NTamd64", "not for 32-bit x86"),
    (",,USB\\Class_01", ",,", "malformed model"),
    (",,USB\\Class_01", ",USB\\Class_01", "would take every"),
    ("zrpopflt.sys = 1", "zrpopflt.sys = 2", "zrpopflt.sys is on no disk"),
    ("zrpopflt.sys = 1", "zrpopflt.sys = 2", "disk 1 is empty"),
    ("DriverFiles        = 12\n", "", "DriverFiles has no destination"),
    ("[Manufacturer]", "Others = 12\n[Manufacturer]", "Others has no files"),
    ("DriverFiles        = 12", "DriverFiles        = 11", "goes to"),
    ("zrpopflt.sys = 1", "zrpopfilter.sys = 1", "zrpopflt.sys is copied from nowhere"),
    ("zrpopflt.sys = 1", "zrpopflt.sys = 1\nmore.sys = 1", "more.sys is not copied"),
    ("zrpopflt.sys,,,1", "zrpopfilter.sys,,,1", "not both copied and deleted"),
    ("StartType     = 3", "StartType     = 0", "StartType is not 3"),
    ("%12%\\zrpopflt.sys", "%12%\\filter.sys", "its file filter.sys is not installed"),
    ("usbaudio,0x0000003a", "usbaudio,0x00000038", "only the class driver"),
    ("DelService = zrpopflt", "DelService = zrpopfilter", "not both added and deleted"),
    ("0x00010000,zrpopflt", "0x00010000,zrpopfilter", "not both a service and a filter"),
    (",USBIrps,", ",UsbIrps,", "UsbIrps is no value of the driver"),
    ("LowerFilters,0x00010000", "LowerFilters,0x00010001", "LowerFilters has another type"),
    ("Default,0x00010003,2", "Default,0x00010003", "DebugLevels: malformed"),
    ("ZRPOPFLT\\Debug", "ZRPOPFLT\\Levels", "is no key of the driver"),
    ("HKLM,%DebugKey%\n", "", "Debug stays behind"),
    ("HKLM,%MachineKey%", "HKLM,Software", "HKLM,Software is removed and was not added"),
)


class InstallationFile(unittest.TestCase):
  path = ROOT / "packaging/nt/zrpopflt.inf"

  def setUp(self):
    self.text = self.path.read_text(encoding="ascii")
    project = (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")
    self.version = re.search(r"project\(ZRPOPFLT VERSION ([\d.]+)", project)[1]
    self.sources = "".join(path.read_text(encoding="utf-8") for folder in ("driver", "support")
                           for path in (ROOT / folder).rglob("*.cpp"))

  def faults(self, text):
    return faults_of(text, self.path.name, self.version, self.sources)

  def test_has_no_fault(self):
    self.assertEqual(self.faults(self.text), [])

  def test_mistake_is_found(self):
    for before, after, fault in MISTAKES:
      with self.subTest(f"{before} -> {after}"):
        self.assertIn(before, self.text)
        found = self.faults(self.text.replace(before, after))
        self.assertTrue(any(fault in text for text in found), f"not found: {fault}; but {found}")


if __name__ == "__main__":
  if len(sys.argv) > 1:
    InstallationFile.path = pathlib.Path(sys.argv.pop(1))
  unittest.main()
