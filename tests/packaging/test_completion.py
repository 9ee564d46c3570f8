"""What bash offers after quorlinctl."""
import os
import pathlib
import subprocess

import pytest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "packaging/agent/quorlinctl.bash-completion"


@pytest.mark.parametrize("words, offered", [
    (["wa"], ["watch"]), (["ter"], ["terminate", "terminal"]), (["--"], ["--help", "--version"]),
    (["watch", "--"], ["--once", "--json", "--widget", "--timeout", "--help"]), (["helper", "o"], []),
    (["nonsense", "--"], [])])
def test_the_words_of_the_help_are_offered(words, offered):
    path = f"{os.environ['QUORLIN_PROGRAMS']}:{os.environ['PATH']}"
    command = 'source "$0"; COMP_WORDS=(quorlinctl "$@"); COMP_CWORD=$#; _quorlinctl; printf "%s\\n" "${COMPREPLY[@]}"'
    shown = subprocess.run(["bash", "-c", command, SCRIPT, *words], env=os.environ | {"PATH": path}, text=True,
                           capture_output=True, check=True)
    assert shown.stderr == ""
    assert shown.stdout.split() == offered
