"""Pages that are made from something else: written anew, or checked to be up to date."""


def keep(verb, path, text, stale):
    """`write` brings the page up to date, `check` says `stale` where it is not. The exit code."""
    try:
        with open(path, encoding="utf-8") as file:
            current = file.read()
    except FileNotFoundError:
        current = None
    if current == text:
        return 0
    if verb == "check":
        print(stale)
        return 1
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)
    return 0
