#compdef dkom-scrub
# Completion of dkom-scrub for zsh.
_arguments -s \
    '(-o --output -d --directory)'{-o,--output}'[write to this file]:file:_files' \
    '(-d --directory -o --output)'{-d,--directory}'[write a file for each one read]:directory:_files -/' \
    '(-z --gzip)'{-z,--gzip}'[pack what is written]' \
    '--names[rename tables, columns and placeholders too]' \
    '--times[move all times by the same span]' \
    '--key[make new names follow from this text]:text:' \
    '(-V --version)'{-V,--version}'[show the version]' \
    '(-h --help)'{-h,--help}'[show how it is used]' \
    '*:trace:_files'
