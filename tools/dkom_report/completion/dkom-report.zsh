#compdef dkom-report
# Completion of dkom-report for zsh.
local context state line
_arguments -s \
    '(-s --sort)'{-s,--sort}'[what calls and statements are sorted by]:order:(total longest mean count failures)' \
    '(-n --limit)'{-n,--limit}'[rows of a table; 0: all]:rows:' \
    '(-w --wide)'{-w,--wide}'[show texts whole]' \
    '--literals[tell statements apart that differ in literals only]' \
    '--json[write all of it as JSON]' \
    '--html[write a page with a timeline into this file]:file:_files' \
    '(-V --version)'{-V,--version}'[show the version]' \
    '(-h --help)'{-h,--help}'[show how it is used]' \
    '1: :->first' \
    '*:trace:_files'
if [[ $state == first ]]; then
    _alternative \
        'commands:command:((calls\:"calls by function and backend" statements\:"statements, slowest first"
            connections\:"where each link went, and why" leaks\:"handles that were never released"
            handle\:"the life of one handle" stop\:"why a process was stopped"))' \
        'files:trace:_files'
fi
