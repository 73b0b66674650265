"""What is generated from the command line - manual page and completions - against what the help says.

    shared_files.py PREFIX

Completions are asked of the shells themselves; zsh and fish where they are installed.
"""
import pathlib
import re
import shutil
import subprocess
import sys

PREFIX = pathlib.Path(sys.argv[1])
SHARE = PREFIX / 'share'
BASH = r'''source "$1"; COMP_LINE=$2; read -ra COMP_WORDS <<<"$2"
[[ $2 != *' ' ]] || COMP_WORDS+=(''); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _reelhaul; printf '%s\n' "${COMPREPLY[@]}"'''
FISH = 'source $argv[1]; complete -C $argv[2] | string replace -r "\\t.*" ""'
# zsh completes on a terminal only: it is given one, and marks each match that it adds.
ZSH = r'''zmodload zsh/zpty; zpty z zsh -f -i; zpty -w z "PS1=; stty cols 1000 -echo; fpath=(${1:h} \$fpath); autoload -U compinit
compinit -D -u; compadd () { builtin compadd -O found \"\$@\"; print -rl -- '<'\${^found}'>'; builtin compadd \"\$@\"; }
ask () { zle complete-word; print -r DON''E; }; zle -N ask; bindkey '^I' ask; print -r READ''Y"
zpty -r -m z x '*READY*'; zpty -n -w z "$2"$'\t'; zpty -r -m z x '*DONE*'; print -r -- "$x"'''


def output(*command):
    result = subprocess.run([str(word) for word in command], capture_output=True, text=True, timeout=60)
    assert result.returncode == 0 and not result.stderr, (command, result)
    return result.stdout


def helps(path=()):
    """Each command's options, by its path."""
    text = output(PREFIX / 'bin/reelhaul', *path, '--help')
    found = {' '.join(path): {name for line in re.findall(r'^  (-[^\s,]+(?:, ?--[^\s,]+)?)', text, re.M) for name in re.split(', ?', line)}}
    for name in re.findall(r'^  (\w+)', text.partition('Subcommands:')[2].partition('Examples')[0], re.M):
        found.update(helps((*path, name)))
    return found


def shells():
    yield 'bash', lambda line: output('bash', '-c', BASH, 'bash', SHARE / 'bash-completion/completions/reelhaul', line)
    if shutil.which('fish'):
        yield 'fish', lambda line: output('fish', '--no-config', '-c', FISH, SHARE / 'fish/vendor_completions.d/reelhaul.fish', line)
    if shutil.which('zsh'):
        yield 'zsh', lambda line: '\n'.join(re.findall(
            '<(.*?)=?>', output('zsh', '-f', '-c', ZSH, 'zsh', SHARE / 'zsh/site-functions/_reelhaul', line)))


commands = helps()
assert 'tools update' in commands and '--output' in commands['get'], commands
page = output('man', '--warnings', '-l', SHARE / 'man/man1/reelhaul.1')
shown = {name for line in re.findall(r'^ {7}(-.*)', page, re.M) for name in re.findall(r'(?:^|, )(-[\w-]+)', line)}
assert shown == set.union(*commands.values()), shown ^ set.union(*commands.values())

VALUES = {'get --format w': {'worst'}, 'get --prefer vp': {'vp9'}, 'info --cookies-from-browser f': {'firefox'}, 'tools use ': {'local', 'built-in'},
          'tools ': {'update', 'use'}, 'get -o /us': {'usr'}, 'get --ap-mso com130': {'com130 - 01', 'com130 - 02'}}
for shell, complete in shells():
    for path, options in commands.items():
        given = {word for word in complete(f'reelhaul {path} --'.replace('  ', ' ')).split('\n') if word.startswith('--')}
        assert given == {name for name in options if name.startswith('--')}, (shell, path, given ^ options)
    for line, words in VALUES.items():
        given = {re.sub(r'\\|/$', '', word) for word in complete('reelhaul ' + line).split('\n') if word}
        assert {word.rpartition('/')[2] for word in given} == words, (shell, line, given)
    print('completions agree with the help:', shell)
