"""What wixl leaves out of a package: short file names, and the table that validation goes by.

Works on packages by msiinfo and msibuild, of Debian's msitools.
"""

import pathlib
import re
import subprocess
import tempfile

# What a text column holds, in the words of the Windows Installer documentation. Of the others a column of type s72 that
# is a key holds an identifier, and the rest texts.
CATEGORIES = {
    "AppSearch.Property": "Identifier", "Binary.Data": "Binary", "Component.ComponentId": "Guid",
    "Component.Condition": "Condition", "Component.KeyPath": "Identifier", "CustomAction.Source": "CustomSource",
    "CustomAction.Target": "Formatted", "Directory.DefaultDir": "DefaultDir", "Directory.Directory_Parent": "Identifier",
    "Error.Message": "Template", "Feature.Feature_Parent": "Identifier", "File.FileName": "Filename",
    "File.Language": "Language", "File.Version": "Version", "Icon.Data": "Binary", "LaunchCondition.Condition": "Condition",
    "LaunchCondition.Description": "Formatted", "Media.Cabinet": "Cabinet", "Media.DiskPrompt": "Text",
    "Media.Source": "Property", "Property.Property": "Identifier", "Property.Value": "Text", "RegLocator.Key": "RegPath",
    "RegLocator.Name": "Formatted", "Registry.Key": "RegPath", "Registry.Name": "Formatted", "Registry.Value": "Formatted",
    "RemoveFile.FileName": "WildCardFilename", "RemoveFile.DirProperty": "Identifier", "Shortcut.Name": "Filename",
    "Shortcut.Arguments": "Formatted", "Shortcut.Target": "Shortcut", "Shortcut.WkDir": "Identifier",
    "Signature.FileName": "Filename", "Signature.Languages": "Language", "Signature.MaxVersion": "Text",
    "Signature.MinVersion": "Text", "Upgrade.ActionProperty": "UpperCase", "Upgrade.Language": "Language",
    "Upgrade.Remove": "Formatted", "Upgrade.UpgradeCode": "Guid", "Upgrade.VersionMax": "Text", "Upgrade.VersionMin": "Text",
    **{f"{table}.{column}": category for table in (
        "AdminExecuteSequence", "AdminUISequence", "AdvtExecuteSequence", "InstallExecuteSequence", "InstallUISequence")
       for column, category in (("Action", "Identifier"), ("Condition", "Condition"))},
}
# Columns that refer to a row of another table, whose first column is its key.
REFERENCES = {"Component_": "Component", "Directory_": "Directory", "Directory_Parent": "Directory", "File_": "File",
              "Feature_": "Feature", "Feature_Parent": "Feature", "Icon_": "Icon"}
INTEGERS = {"i2": (-32767, 32767), "i4": (-2147483647, 2147483647)}
VALIDATION_HEAD = ("Table\tColumn\tNullable\tMinValue\tMaxValue\tKeyTable\tKeyColumn\tCategory\tSet\tDescription\r\n"
                   "s32\ts32\ts4\tI4\tI4\tS255\tI2\tS32\tS255\tS255\r\n_Validation\tTable\tColumn\r\n")


def query(package: pathlib.Path, *statements: str) -> None:
    """All in one call: to open and to write the package takes longer than any of them."""
    subprocess.run(["msibuild", package, "-q", *statements], check=True)


def export(package: pathlib.Path, name: str) -> list:
    """The lines of a table as msiinfo exports it: names, types, keys, rows."""
    done = subprocess.run(["msiinfo", "export", package, name], check=True, capture_output=True)
    return [line.split("\t") for line in done.stdout.decode("cp1252").split("\r\n") if line]


def rows(package: pathlib.Path, name: str) -> list:
    names, _types, _keys, *lines = export(package, name)
    return [dict(zip(names, line)) for line in lines]


def tables(package: pathlib.Path) -> list:
    done = subprocess.run(["msiinfo", "tables", package], check=True, capture_output=True, text=True)
    return sorted(name for name in done.stdout.split() if not name.startswith("_"))


def replace_table(package: pathlib.Path, text: str) -> None:
    with tempfile.NamedTemporaryFile(suffix=".idt") as file:
        file.write(text.encode("cp1252"))
        file.flush()
        subprocess.run(["msibuild", package, "-i", file.name], check=True)


def short_name(name: str, taken: set) -> str:
    """A name of 8.3 characters that the folder does not have yet, as Windows makes them; the name itself where it is one."""
    stem, dot, extension = name.rpartition(".") if "." in name else (name, "", "")
    if re.fullmatch(r"[A-Za-z0-9_-]{1,8}", stem) and re.fullmatch(r"[A-Za-z0-9_-]{0,3}", extension):
        taken.add(name.upper())
        return name
    base = re.sub(r"[^A-Z0-9]", "", stem.upper())
    for number in range(1, 1000):
        tail = f"~{number}"
        short = base[:8 - len(tail)] + tail + dot + re.sub(r"[^A-Z0-9]", "", extension.upper())[:3]
        if short not in taken:
            taken.add(short)
            return short
    raise ValueError(f"no short name for {name}")


def add_short_names(package: pathlib.Path) -> None:
    """Turns names that are not of 8.3 characters into "short|long", which validation and old file systems ask for."""
    taken, updates = {}, []
    folders = {row["Component"]: row["Directory_"] for row in rows(package, "Component")}

    def pair(folder: str, name: str) -> str:
        short = short_name(name, taken.setdefault(folder, set()))
        return name if short == name else f"{short}|{name}"

    for row in rows(package, "File"):
        name = pair(folders[row["Component_"]], row["FileName"])
        updates.append(f"UPDATE `File` SET `FileName` = '{name}' WHERE `File` = '{row['File']}'")
    for row in rows(package, "RemoveFile"):
        name = pair(row["DirProperty"], row["FileName"])
        updates.append(f"UPDATE `RemoveFile` SET `FileName` = '{name}' WHERE `FileKey` = '{row['FileKey']}'")
    for row in rows(package, "Directory"):
        if row["DefaultDir"] in (".", "SourceDir"):
            continue
        name = pair("below " + row["Directory_Parent"], row["DefaultDir"])
        updates.append(f"UPDATE `Directory` SET `DefaultDir` = '{name}' WHERE `Directory` = '{row['Directory']}'")
    query(package, *updates)


def validation_row(table: str, column: str, kind: str, is_key: bool) -> str:
    nullable = "Y" if kind[0].isupper() else "N"
    kind = kind.lower()
    lowest, highest = INTEGERS.get(kind, ("", ""))
    target = REFERENCES.get(column, "")
    category = CATEGORIES.get(f"{table}.{column}", "")
    if kind not in INTEGERS and not category:
        category = "Identifier" if target or is_key or column.endswith("_") else "Text"
    key_column = 1 if target else ""
    return "\t".join(map(str, (table, column, nullable, lowest, highest, target, key_column, category, "", ""))) + "\r\n"


def add_validation(package: pathlib.Path) -> None:
    """Adds the _Validation table: what each column may hold."""
    text = VALIDATION_HEAD
    for table in tables(package):
        names, types, keys, *_ = export(package, table)
        for column, kind in zip(names, types):
            text += validation_row(table, column, kind, column in keys[1:])
    for column, kind in zip(*(line.split("\t") for line in VALIDATION_HEAD.split("\r\n")[:2])):
        text += validation_row("_Validation", column, kind, column in ("Table", "Column"))
    replace_table(package, text)
