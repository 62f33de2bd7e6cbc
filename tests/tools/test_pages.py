"""What holds for every page: links lead somewhere, PowerShell blocks can be pasted as they stand into PowerShell 5.1,
other examples parse, and commands of velkpci are such that the program has them."""

import ast
import collections
import pathlib
import re
import unittest

import powershell_text
from powershell_text import PowerShellError

ROOT = pathlib.Path(__file__).resolve().parents[2]
DOCS = ROOT / "docs"
PAGES = sorted([*ROOT.glob("*.md"), *DOCS.rglob("*.md"), *(ROOT / "packaging").glob("*.md")])
FENCE = re.compile(r"^( *)```(\w*)\n(.*?)^ *```$", re.MULTILINE | re.DOTALL)

# Cmdlets for the pages, with the parameters that those of Windows PowerShell 5.1 have.
COMMON = """-Debug -ErrorAction -ErrorVariable -InformationAction -OutBuffer -OutVariable -PipelineVariable -Verbose
    -WarningAction -WarningVariable -WhatIf -Confirm"""
CMDLETS = {
    "Add-Content": "-Path -LiteralPath -Value -Encoding -Force",
    "Enable-NetFirewallRule": "-Name -DisplayName -DisplayGroup -Group -CimSession -PassThru",
    "Export-Csv": "-Path -LiteralPath -NoTypeInformation -Encoding -Delimiter -Append -Force -UseCulture",
    "ForEach-Object": "-Process -Begin -End -InputObject -MemberName",
    "Format-List": "-Property -GroupBy",
    "Format-Table": "-Property -AutoSize -Wrap -GroupBy",
    "Get-AuthenticodeSignature": "-FilePath -LiteralPath",
    "Get-CimAssociatedInstance": """-InputObject -Association -ResultClassName -Namespace -CimSession -ComputerName
        -OperationTimeoutSec -KeyOnly -ResourceUri""",
    "Get-CimClass": """-ClassName -Namespace -CimSession -ComputerName -MethodName -PropertyName -QualifierName
        -OperationTimeoutSec -Amended""",
    "Get-CimInstance": """-ClassName -Namespace -Query -QueryDialect -Filter -Property -KeyOnly -Shallow -InputObject
        -CimSession -ComputerName -OperationTimeoutSec -ResourceUri""",
    "Get-Content": "-Path -LiteralPath -Encoding -Tail -TotalCount -Raw -Wait -ReadCount -Delimiter",
    "Get-Date": "-Format -UFormat -Date",
    "Get-FileHash": "-Path -LiteralPath -Algorithm",
    "Get-Item": "-Path -LiteralPath -Force -Stream",
    "Get-PnpDevice": "-InstanceId -FriendlyName -Class -Status -PresentOnly -CimSession",
    "Get-PnpDeviceProperty": "-InstanceId -InputObject -KeyName -CimSession",
    "Get-Process": "-Name -Id -ComputerName -Module -FileVersionInfo -IncludeUserName",
    "Get-WinEvent": """-LogName -FilterHashtable -FilterXPath -FilterXml -MaxEvents -ComputerName -ProviderName -Path
        -Oldest -ListLog""",
    "New-CimSession": """-ComputerName -Credential -Authentication -CertificateThumbprint -SessionOption -Name -Port
        -OperationTimeoutSec -SkipTestConnection""",
    "New-CimSessionOption": "-Protocol -UseSsl -SkipCACheck -SkipCNCheck -Impersonation -PacketIntegrity -PacketPrivacy",
    "Out-Null": "-InputObject",
    "Register-CimIndicationEvent": """-ClassName -Query -QueryDialect -Namespace -CimSession -ComputerName -Action
        -SourceIdentifier -MessageData -OperationTimeoutSec -SupportEvent -Forward -MaxTriggerCount""",
    "Remove-CimInstance": "-InputObject -CimSession -ComputerName -Namespace -Query",
    "Remove-CimSession": "-CimSession -ComputerName -Id -InstanceId -Name",
    "Select-Object": "-Property -First -Last -Skip -Unique -ExpandProperty -ExcludeProperty -Index -Wait",
    "Sort-Object": "-Property -Descending -Unique -CaseSensitive -Culture",
    "Start-Process": "-FilePath -ArgumentList -Wait -PassThru -NoNewWindow -Verb -WindowStyle -WorkingDirectory",
    "Unregister-Event": "-SourceIdentifier -SubscriptionId -Force",
    "Where-Object": """-FilterScript -Property -Value -EQ -NE -GT -GE -LT -LE -Like -NotLike -Match -NotMatch -Contains
        -NotContains -In -NotIn -Is -IsNot""",
}

# Options of velkpci that come before the command and take a word.
TAKES_A_WORD = {"--machine", "--computer", "--user", "--mof", "--namespace", "--columns"}
PLACEHOLDERS = {"COMMAND"}


def name_of(page: pathlib.Path) -> str:
    return str(page.relative_to(ROOT))


def text_of(page: pathlib.Path) -> str:
    return page.read_text(encoding="utf-8")


def blocks(page: pathlib.Path, language: str) -> list:
    """The blocks of a page in one language, without the indentation of a list."""
    found = [(len(indent), body) for indent, kind, body in FENCE.findall(text_of(page)) if kind == language]
    return [re.sub(rf"^ {{0,{indent}}}", "", body, flags=re.MULTILINE) for indent, body in found]


def code_of(page: pathlib.Path) -> list:
    """Blocks, and what stands in backticks."""
    text = text_of(page)
    spans = re.findall(r"`([^`]+)`", FENCE.sub("", text))
    indented = re.findall(r"^    .+$", FENCE.sub("", text), re.MULTILINE)
    return [body for _, _, body in FENCE.findall(text)] + [" ".join(each.split()) for each in spans] + indented


def links(page: pathlib.Path) -> list:
    prose = re.sub(r"`[^`]*`", "", FENCE.sub("", text_of(page)))
    return re.findall(r"\]\(\s*<?([^)>\s]+)>?\s*\)", prose)


def anchors(page: pathlib.Path) -> set:
    """As the forge makes them of headings; a heading that comes again gets a number."""
    found, seen = set(), collections.Counter()
    for heading in re.findall(r"^#+ (.+?)\s*$", FENCE.sub("", text_of(page)), re.MULTILINE):
        heading = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading)
        slug = re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")
        found.add(f"{slug}-{seen[slug]}" if seen[slug] else slug)
        seen[slug] += 1
    return found


def commands_of_program() -> set:
    table = (ROOT / "tool" / "commands" / "command_table.cpp").read_text(encoding="utf-8")
    return set(re.findall(r'^    \{"(\w+)", "', table, re.MULTILINE))


def commands_named(code: str) -> list:
    """The word after each call of the program or of ./run, options passed over."""
    found = []
    for rest in re.findall(r"(?:\bvelkpci(?:\.exe)?[\"\\']*|\./run)(?= )([^\n`|;#]*)", code):
        words = iter(re.sub(r"(\"[^\"]*\"|'[^']*')", "TEXT", rest).split())
        for word in words:
            if word in TAKES_A_WORD:
                next(words, None)
            elif not word.startswith("-"):
                found.append(word.rstrip(",;.)"))
                break
    return found


class EachPage(unittest.TestCase):
    def check_each(self, check):
        for page in PAGES:
            with self.subTest(page=name_of(page)):
                check(page)


class Links(EachPage):
    def test_links_lead_to_files(self):
        def check(page):
            for link in links(page):
                target = link.partition("#")[0]
                if not re.match(r"https?://", link):
                    self.assertTrue((page.parent / target).exists(), link)
        self.check_each(check)

    def test_links_to_headings_lead_to_headings(self):
        def check(page):
            for link in links(page):
                target, _, anchor = link.partition("#")
                if anchor and not re.match(r"https?://", link):
                    self.assertIn(anchor, anchors(page.parent / target if target else page), link)
        self.check_each(check)

    def test_index_leads_to_every_page(self):
        reached, to_do = set(), {(DOCS / "README.md").resolve()}
        while to_do:
            page = to_do.pop()
            reached.add(page)
            targets = {(page.parent / link.partition("#")[0]).resolve() for link in links(page) if ":" not in link}
            to_do |= {each for each in targets if each.suffix == ".md" and each.is_file()} - reached
        self.assertEqual([name_of(each) for each in DOCS.rglob("*.md") if each.resolve() not in reached], [])

    def test_anchors_are_made_as_the_forge_makes_them(self):
        self.assertIn("0x80041013-the-provider-does-not-load", anchors(DOCS / "troubleshooting.md"))
        # A comment in a block of code is no heading.
        self.assertNotIn("all-bridges", anchors(DOCS / "classes" / "Velk_PCIBridge.md"))


class PowerShell(EachPage):
    def test_blocks_are_whole_and_their_variables_set(self):
        def check(page):
            variables = powershell_text.Variables()
            for block in blocks(page, "powershell"):
                try:
                    variables.follow(powershell_text.read(block))
                except PowerShellError as error:
                    self.fail(f"{error}\n{block}")
        self.check_each(check)

    def test_cmdlets_and_parameters_are_those_of_5_1(self):
        def check(page):
            defined = set()
            for block in blocks(page, "powershell"):
                tokens = powershell_text.read(block)
                defined |= powershell_text.functions(tokens)
                for command, parameters in powershell_text.calls(tokens):
                    if command.text in defined:
                        continue
                    self.assertTrue(command.text in CMDLETS, f"{command.text} is not in this test's list")
                    known = (CMDLETS[command.text] + " " + COMMON).lower().split()
                    self.assertEqual([each for each in parameters if each.lower() not in known], [], command.text)
        self.check_each(check)

    def test_there_are_blocks_to_check(self):
        self.assertGreater(sum(len(blocks(page, "powershell")) for page in PAGES), 15)


class PowerShellReader(unittest.TestCase):
    def refuses(self, what: str, *page: str):
        with self.assertRaisesRegex(PowerShellError, re.escape(what)):
            variables = powershell_text.Variables()
            for block in page:
                variables.follow(powershell_text.read(block))

    def takes(self, *page: str):
        variables = powershell_text.Variables()
        for block in page:
            variables.follow(powershell_text.read(block))

    def test_refuses_what_is_not_closed(self):
        self.refuses("{ is never closed", "Get-Date | ForEach-Object { $_")
        self.refuses(") closes nothing", "Get-Date)")
        self.refuses("' is never closed", "Get-Date -Format 'yyyy")
        self.refuses('" is never closed', 'Get-Date "a $(Get-Date -Format "b") c')
        self.refuses("$( is never closed", '"a $(Get-Date')
        self.refuses("} closes nothing", "@(1, 2})")
        self.refuses("a here-string is never ended", "@'\na")

    def test_refuses_what_5_1_or_a_console_does_not_take(self):
        self.refuses("&& is not of", "Get-Date && Get-Date")
        self.refuses("a console has run the line", "Get-Date\n  | Out-Null")
        self.refuses("a console has run the line", "if ($true) {\n}\nelse {\n}")

    def test_takes_quotes_comments_and_texts_with_expressions(self):
        self.takes("# it's a \"comment\" {\n'it''s { $nothing'\n\"a `\" $($_.A + \"b\") $env:X\"",
                   '$a = @"\n{ " $null\n"@\n$a')

    def test_takes_an_else_on_a_line_of_its_own_within_brackets(self):
        self.takes("& {\n  if ($true) {\n  }\n  else {\n  }\n}")

    def test_refuses_a_variable_that_was_never_set(self):
        self.refuses("$b was never set", "$a = 1\n$a + $b")
        self.refuses("$b was never set", 'Get-Date "x $b"')
        self.refuses("$b was never set", "Get-Date @b")
        self.refuses("$p was never set", "function F-G($p) { $p }\n$p")

    def test_refuses_a_variable_that_was_given_up(self):
        new = "$s = New-CimSession A\n"
        self.refuses("$s was given up", new + "$s | Remove-CimSession\n$s")
        self.refuses("$s was given up", new + "Remove-CimSession $s", "Get-CimInstance -CimSession $s")
        self.refuses("$s was given up", "foreach ($s in 1) {\n" + new + "$s |\n Remove-CimSession\n$s }")
        self.refuses("$s was given up", new + "Remove-Variable -Name s; $s")
        self.refuses("$s was given up", new + "Remove-CimSession $s", "function F-G($S) { $S }\nF-G $s")

    def test_takes_variables_that_were_set_in_any_way(self):
        self.takes("$a, $b = 1, 2\nforeach ($c in $a) { $c + $b }", "$a")
        self.takes("Get-Date -ErrorVariable x\n$x", "$h = @{ A = 1 }\nGet-Date @h")
        self.takes("function F-G([int[]] $P, $Q = 1) { $P; $Q }", "$s = 1\n$s | Remove-CimSession\n$s = 2\n$s")
        # The name of a function's own is not the one outside that was given up.
        self.takes("$s = 1\nRemove-CimSession $s\nfunction F-G($S) { $S }")

    def test_finds_calls_with_their_parameters(self):
        tokens = powershell_text.read("Get-Date -Format (Get-Content -Raw a) |\n    Where-Object { $_ -eq 1 } -Not-Us")
        self.assertEqual([(call.text, parameters) for call, parameters in powershell_text.calls(tokens)],
                         [("Get-Date", ["-Format"]), ("Get-Content", ["-Raw"]), ("Where-Object", ["-Not-Us"])])


class OtherCode(EachPage):
    def test_python_parses(self):
        def check(page):
            for block in blocks(page, "python"):
                ast.parse(block)
        self.check_each(check)

    def test_commands_of_velkpci_are_those_of_the_program(self):
        known = commands_of_program() | PLACEHOLDERS

        def check(page):
            for code in code_of(page):
                self.assertLessEqual(set(commands_named(code)), known, code)
        self.check_each(check)

    def test_table_of_commands_is_read(self):
        self.assertLessEqual({"tree", "list", "check", "export"}, commands_of_program())
        self.assertEqual(commands_named('./run list X; velkpci --machine a.json tree --json\nvelkpci.exe\\" export --x'),
                         ["list", "tree", "export"])
        self.assertEqual(commands_named('velkpci --verbose query "SELECT * FROM X"\nvelkpci --help'), ["query"])


if __name__ == "__main__":
    unittest.main()
