"""textmate.py GRAMMAR TEXT: prints a letter a column, as editors.sh says, by the rules of TextMate grammars.

At each place the earliest match wins, and at the same place the rule that stands first; the end of the open rule stands
in front of its patterns. \\G is the end of the match that opened a rule, \\A the start of the text.
"""

import json
import re
import sys

LETTERS = {"entity.name.statement": "N", "entity.name.quoted": "q", "constant.numeric": "n",
           "constant.language.boolean": "b", "keyword.operator.separator": "o", "punctuation.terminator": "|",
           "string.quoted.double": "s", "constant.character.escape": "e", "comment.line.dropped": "d",
           "comment.line": "c", "punctuation.separator.continuation": "&"}


def letter(rule, outer=" "):
    name = rule.get("name", "")
    return next((l for prefix, l in LETTERS.items() if name.startswith(prefix)), outer)


def find(pattern, line, number, at, anchor):
    if pattern.startswith(r"\A") and number > 0:
        return None
    if pattern.startswith(r"\G"):
        return re.compile(pattern[2:]).match(line, at) if at == anchor else None
    return re.compile(pattern).search(line, at)


def rules(grammar, patterns):
    for rule in patterns:
        if "include" in rule:
            rule = grammar["repository"][rule["include"][1:]]
        if "match" in rule or "begin" in rule:
            yield rule
        else:
            yield from rules(grammar, rule["patterns"])


def main(grammar_path, text_path):
    with open(grammar_path, encoding="utf-8") as f:
        grammar = json.load(f)
    stack = [{"patterns": grammar["patterns"]}]
    with open(text_path, encoding="utf-8") as f:
        lines = f.read().splitlines()
    for number, line in enumerate(lines):
        shown, at, anchor, opened_at = "", 0, -1, set()
        line += "\n"
        while at <= len(line):
            top = stack[-1]
            candidates = [top] if "end" in top else []
            found = None
            for rule in [*candidates, *rules(grammar, top.get("patterns", []))]:
                pattern = rule["end"] if rule is top else rule.get("match", rule.get("begin"))
                match = find(pattern, line, number, at, anchor)
                if match and rule is not top and "begin" in rule and (match.start(), id(rule)) in opened_at:
                    continue
                if match and (found is None or match.start() < found[0].start()):
                    found = match, rule
            if found is None:
                shown += letter(top) * (len(line) - at)
                break
            match, rule = found
            shown += letter(top) * (match.start() - at)
            if rule is top:
                shown += letter(top) * len(match.group())
                stack.pop()
            elif "begin" in rule:
                captures = rule.get("beginCaptures", {})
                for i in range(len(match.group())):
                    place = match.start() + i
                    groups = [g for g in captures if match.start(int(g)) <= place < match.end(int(g))]
                    shown += letter(captures[groups[-1]]) if groups else letter(rule)
                opened_at.add((match.start(), id(rule)))
                stack.append(rule)
                anchor = match.end()
            else:
                shown += letter(rule, letter(top)) * len(match.group())
            at = match.end()
            if at == len(line):
                break
        print(shown[:len(line) - 1].rstrip())


main(*sys.argv[1:])
