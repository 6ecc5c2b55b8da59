"""deliver_test.py CASE BUILD_FOLDER [ROUNDS]: the agent as it is shipped, under Wine, against servers on loopback."""
from world import CASE, staged
import answers, folders, long

CASES = {name[5:]: case for part in (answers, folders, long) for name, case in vars(part).items()
         if name.startswith("case_")}
with staged():
    CASES[CASE]()
