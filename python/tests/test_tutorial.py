"""The code of the tutorial does what the tutorial shows."""

import doctest
import pathlib
import re

pytest_plugins = ["pytester"]
text = (pathlib.Path(__file__).parents[1] / "TUTORIAL.md").read_text(encoding="utf-8")


def blocks(language):
    return re.findall(rf"```{language}\n(.*?)```", text, re.S)


def test_tutorial():
    examples = "\n".join(blocks("pycon"))
    assert examples.count(">>>") > 30
    found = doctest.DocTestParser().get_doctest(examples, {}, "TUTORIAL.md", None, 0)
    runner = doctest.DocTestRunner()
    assert runner.run(found).failed == 0


def test_tutorial_of_fixtures(pytester):
    conftest, test = blocks("python")
    pytester.makeconftest(conftest)
    pytester.makepyfile(test)
    pytester.runpytest("-p", "no:cacheprovider").assert_outcomes(passed=1)
