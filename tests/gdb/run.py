"""Run by gdb on a program of this folder, or on its core file: asks what the comments of its
source ask, and compares the answers. A question is a comment `(gdb) COMMAND`, or `(g++)` or
`(clang++)` for programs of one compiler alone, and the answer is the rest of the comment. With
$dump set to a name, the program leaves a core file under it. With $answers set to a file,
that has the questions and answers instead, and nothing else."""

import re

import gdb


def questions(source, margin):
    """Compiler, command and expected answer, from the lines that begin with the margin."""
    asked, answer = [], None
    for line in open(source, encoding="utf-8"):
        comment = re.match(margin + r"(?:\((gdb|g\+\+|clang\+\+)\) )?(.*)", line)
        if comment is None:
            answer = None  # a question's answer ends with the comment
        elif comment[1]:
            answer = []
            asked.append((comment[1], comment[2], answer))
        elif answer is not None:
            answer.append(comment[2])
    return asked


def plain(text):
    """Without numbers of the history and addresses, on one line."""
    text = re.sub(r"^\$\d+ = ", "", text, flags=re.M)
    return " ".join(re.sub(r"0x[1-9a-f][0-9a-f]*", "0x?", text).split())


gdb.execute("set pagination off")
gdb.execute("set width 0")
gdb.execute("set confirm off")
live = gdb.selected_inferior().pid == 0
if live:
    gdb.execute("break stop")
    gdb.execute("run")
gdb.execute("up")
here = gdb.selected_frame().find_sal().symtab
compiler = "clang++" if "clang" in here.producer else "g++"
failures = count = 0
answers = gdb.convenience_variable("answers")
asked = questions(answers.string(), "") if answers else questions(here.fullname(), "// ")
for asked_of, command, expected in asked:
    if asked_of not in ("gdb", compiler) or (not live and re.search("-call|-compare", command)):
        continue
    count += 1
    try:
        answer = gdb.execute(command, to_string=True)
    except gdb.error as error:
        answer = str(error)
    answer, expected = plain(answer), plain("\n".join(expected))
    if answer != expected:
        failures += 1
        print(f"FAILED: {command}\n  {answer}\ninstead of\n  {expected}")
print(f"{count} answers, {failures} wrong")
dump = gdb.convenience_variable("dump")
if dump is not None:
    gdb.execute(f"generate-core-file {dump.string()}")
if live:
    gdb.execute("kill")
gdb.execute(f"quit {int(failures > 0 or count == 0)}")
