# shellcheck shell=bash
# The Debian archive that this machine uses, as "URI KEYRING", from either form of its sources.
debian_source() {
    local codename
    # shellcheck source=/dev/null
    codename=$(. /etc/os-release && printf '%s' "${VERSION_CODENAME:-}")
    local lists=(/dev/null) list
    for list in /etc/apt/sources.list.d/*.{sources,list} /etc/apt/sources.list; do
        if [[ -r $list ]]; then lists+=("$list"); fi
    done
    awk -v codename="$codename" '
        function has(list, word) { return index(" " list " ", " " word " ") > 0 }
        # Other archives use the same suite names; the one of Debian ends in its name.
        function offer(uri, suites, components, keyring) {
            if (uri ~ /^cdrom:/ || !has(components, "main") || !has(suites, codename)) return
            if (keyring !~ /^\//) keyring = "/usr/share/keyrings/debian-archive-keyring.gpg"
            if (uri ~ /\/debian\/?$/) { if (best == "") best = uri " " keyring }
            else if (other == "") other = uri " " keyring
        }
        function flush_stanza() {
            split(field["uris"], uris, " ")
            split(field["signed-by"], keyrings, " ")
            if (field["enabled"] !~ /^ *no *$/)
                offer(uris[1], field["suites"], field["components"], keyrings[1])
            split("", field)
        }
        FNR == 1 { flush_stanza() }
        /^[ \t]*#/ { next }
        FILENAME ~ /\.sources$/ {
            if (/^[ \t]*$/) flush_stanza()
            else if (match($0, /^[A-Za-z-]+:/)) {
                key = tolower(substr($0, 1, RLENGTH - 1))
                field[key] = substr($0, RLENGTH + 1)
                gsub(/[ \t]+/, " ", field[key])
            }
            next
        }
        $1 == "deb" {
            keyring = ""; rest = $0
            if (match(rest, /\[[^]]*\]/)) {
                options = substr(rest, RSTART + 1, RLENGTH - 2)
                rest = substr(rest, 1, RSTART - 1) " " substr(rest, RSTART + RLENGTH)
                if (match(options, /signed-by=[^ ]+/)) keyring = substr(options, RSTART + 10, RLENGTH - 10)
                sub(/,.*/, "", keyring)
            }
            n = split(rest, word, " "); components = ""
            for (i = 4; i <= n; i++) components = components " " word[i]
            offer(word[2], word[3], components, keyring)
        }
        END { flush_stanza(); print best != "" ? best : other }
    ' "${lists[@]}"
}
