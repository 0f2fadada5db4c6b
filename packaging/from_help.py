"""Manual pages and completion of bash for the program telvar, made from what its --help prints.

    from_help.py PROGRAM FOLDER

writes telvar.1.gz, telvar-COMMAND.1.gz and, for bash, telvar. Equal help, equal files.
"""
import gzip
import json
import pathlib
import re
import subprocess
import sys

FILES = """.SH FILES
.TP
.I /usr/share/telvar\\-wrappers/data
Labels of the images that
.B telvar demo
trains on.
"""


def help_of(program, *command):
    done = subprocess.run([program, *command, "--help", "--json"], check=True, capture_output=True)
    return json.loads(done.stdout)["help"]


class Help:
    """A help text taken apart: `about`, `usage`, the entries of each section, and the rest."""

    def __init__(self, text):
        lines = text.splitlines()
        self.about = lines[0].rstrip(".")
        self.usage = lines[1].removeprefix("Usage: ")
        self.sections = {}
        self.rest = []
        entries = None
        for line in lines[2:]:
            entry = re.match(r"  (\S.*?)(?:  +(\S.*))?$", line)
            if line.startswith(" " * 10) and entries:
                entries[-1][1] = (entries[-1][1] + " " + line.strip()).strip()
            elif entry and entries is not None:
                entries.append([entry[1], entry[2] or ""])
            elif re.fullmatch(r"(Positionals|Options|Subcommands):", line):
                entries = self.sections.setdefault(line[:-1], [])
            elif line or self.rest:
                entries = None
                self.rest.append(line)

    def options(self):
        return [name for entry, _ in self.sections["Options"] for name in entry.split()[0].split(",")
                if name.startswith("--")]

    def choices(self):
        """By option, the words that it takes."""
        found = {}
        for entry, _ in self.sections["Options"]:
            words = re.match(r"(?:-\w,)?(--\S+) TEXT:\{([^}]*)\}", entry)
            if words:
                found[words[1]] = words[2].split(",")
        return found


def roff(text):
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return "\\&" + text if text[:1] in (".", "'") else text


def entries(title, rows):
    return f".SH {title}\n" + "".join(f".TP\n.B {roff(name)}\n{roff(about)}\n" for name, about in rows)


def page(name, help, more=""):
    head = f'.TH {name.upper()} 1 "" "TelvarWrappers" "User commands"\n'
    text = head + f".SH NAME\n{roff(name)} \\- {roff(help.about[0].lower() + help.about[1:])}\n"
    text += f".SH SYNOPSIS\n.B {roff(help.usage)}\n"
    for section, title in [("Subcommands", "COMMANDS"), ("Positionals", "ARGUMENTS"), ("Options", "OPTIONS")]:
        if section in help.sections:
            text += entries(title, help.sections[section])
    rest = "\n".join(help.rest)
    notes, _, example = rest.partition("Example:")
    if notes.strip():
        text += ".SH NOTES\n" + roff(notes.strip()).replace("\n", "\n.PP\n") + "\n"
    if example.strip():
        text += ".SH EXAMPLE\n.nf\n" + "\n".join(roff(line.strip()) for line in example.strip().splitlines()) + "\n.fi\n"
    return text + more


def completion(top, commands):
    words = " ".join(name for name, _ in top.sections["Subcommands"])
    cases = ""
    for name, help in commands.items():
        cases += f"    {name}) words=\"{' '.join(help.options())}\" ;;\n"
    values = "".join(f"    \"{name} {option}\") COMPREPLY=($(compgen -W \"{' '.join(taken)}\" -- \"$current\")); return ;;\n"
                     for name, help in commands.items() for option, taken in help.choices().items())
    return f"""# bash completion for telvar: commands, options, and the words that options take; files otherwise.
_telvar() {{
  local current=${{COMP_WORDS[COMP_CWORD]}} previous=${{COMP_WORDS[COMP_CWORD - 1]}} command="" words="" word
  for word in "${{COMP_WORDS[@]:1:COMP_CWORD-1}}"; do
    case $word in
    {'|'.join(commands)}) command=$word; break ;;
    esac
  done
  case "$command $previous" in
{values}  esac
  case $command in
    "") words="{words} {' '.join(top.options())}" ;;
{cases}  esac
  if [[ -z $command || $current == -* ]]; then
    COMPREPLY=($(compgen -W "$words {' '.join(top.options())}" -- "$current"))
  fi
}}
complete -o default -F _telvar telvar
"""


def main():
    program, folder = sys.argv[1], pathlib.Path(sys.argv[2])
    folder.mkdir(parents=True, exist_ok=True)
    top = Help(help_of(program))
    commands = {name: Help(help_of(program, name)) for name, _ in top.sections["Subcommands"]}
    pages = {"telvar": page("telvar", top, FILES)}
    also = ".SH SEE ALSO\n.BR telvar (1)\n"
    pages.update((f"telvar-{name}", page(f"telvar-{name}", help, also)) for name, help in commands.items())
    for name, text in pages.items():
        # Neither name nor time inside: equal pages, equal packages.
        (folder / f"{name}.1.gz").write_bytes(gzip.compress(text.encode("utf-8"), mtime=0))
    (folder / "telvar").write_text(completion(top, commands), encoding="utf-8")


main()
