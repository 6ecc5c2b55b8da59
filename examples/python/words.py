"""A host in Python: counts the lines, words and bytes of a text file, and records that it did."""
import sys
from pathlib import Path

import vantra


def ask_for_consent(library):
    """Asks as long as the user has not answered. Vantra keeps the answer."""
    if library.is_present and library.opt_in() == vantra.NO_CHOICE:
        answer = input("May Words record how it is used? (y/n) ")
        if answer:
            library.set_opt_in(vantra.IN if answer.startswith("y") else vantra.OUT)


def main(path):
    library = vantra.Library()
    library.initialize("AcmeWords", agent_folder=Path(__file__).resolve().parent)
    ask_for_consent(library)
    # Without consent, or without the library, the session records nothing.
    with library.start_session("Acme", "Words", "1.0") as session:
        try:
            content = Path(path).read_bytes()
        except OSError as error:
            session.log_event("File", "Text", "OpenFailed", path)
            sys.exit(f"words: {error}")
        counts = {"Lines": content.count(b"\n"), "Words": len(content.split()), "Bytes": len(content)}
        session.log_event("File", "Text", "Count", path)
        add = session.new_data_group("File", "Text", "Counts", path)
        for name, number in counts.items():
            add(name, number)
        print(*counts.values())


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit("usage: words.py FILE")
    main(sys.argv[1])
