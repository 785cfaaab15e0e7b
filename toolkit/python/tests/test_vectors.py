"""The conformance vectors, each a test of its own: test_vectors.memory.test_..."""
import json
import unittest
from typing import Any, Callable, Dict

from surroundings import VECTORS, speak_english
from vectors import Tables, is_for_this_system, run_vector

speak_english()
TABLES = Tables(VECTORS)


def _test_of(vector: Any) -> Callable[[unittest.TestCase], None]:
    def run(case: unittest.TestCase) -> None:
        run_vector(case, TABLES, vector)

    return run if is_for_this_system(vector) else unittest.skip("for another system")(run)


for _file in sorted(VECTORS.glob("*.json")):
    if _file.stem == "records":
        continue
    _vectors = json.loads(_file.read_text(encoding="utf-8"))["vectors"]
    _tests: Dict[str, Any] = {f"test_{vector['name']}": _test_of(vector) for vector in _vectors}
    assert len(_tests) == len(_vectors), f"{_file.name}: a name is there twice"
    globals()[_file.stem] = type(_file.stem, (unittest.TestCase,), _tests)


if __name__ == "__main__":
    unittest.main()
