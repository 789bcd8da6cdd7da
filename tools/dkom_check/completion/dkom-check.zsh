#compdef dkom-check
# Completion of dkom-check for zsh.
_arguments -s \
    '(-e --edition)'{-e,--edition}'[the edition to check]:edition:(exact extended)' \
    '(-a --attach)'{-a,--attach}'[attach to this database]:link:' \
    '(-u --user)'{-u,--user}'[begin a session as this user]:user:' \
    '--password-file[read the password from this file]:file:_files' \
    '--expect[the backend that is to serve the link]:backend:(oracle dravik)' \
    '--timeout[longest wait for each piece of work]:seconds:' \
    '--json[write the report as JSON]' \
    '(-V --version)'{-V,--version}'[show the version]' \
    '(-h --help)'{-h,--help}'[show how it is used]' \
    '1:program:_files'
