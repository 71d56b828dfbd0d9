# Completion for corvella, corvella-defaults and corvella-sun.

_corvella() {
    local words="--start --quiet --seconds --action --refresh --prime --selftest"
    [ "${COMP_WORDS[COMP_CWORD - 1]}" != --action ] || words="start arm settings update-desktop quit"
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$2")
}

_corvella_defaults() {
    local keys="configured mode products idleMinutes lockOnDismiss offline refreshMinutes shuffle loops transition attribution
        desktop imageryHost storeHost cacheHome appearance installUpdatesNow
        checkUpdatesNow updateFeed updateChannel"
    local words=
    case $COMP_CWORD in
        1) words="read write delete" ;;
        2) words=$keys ;;
        3)
            [ "${COMP_WORDS[1]}" = write ] || return
            case ${COMP_WORDS[2]} in
                mode) words="wall saver kiosk desktop" ;;
                transition) words="blink crossfade black circle wipe" ;;
                appearance) words="dark light" ;;
                products) words=-array ;;
                idleMinutes) words=-float ;;
                refreshMinutes | loops) words=-int ;;
                configured | lockOnDismiss | offline | shuffle | attribution | desktop | *UpdatesNow) words=-bool ;;
            esac
            ;;
        *)
            case ${COMP_WORDS[2]} in
                products) words="all off rainbow 171 193 211 304 335 94 131 1600 1700 composite_uv dem" ;;
                refreshMinutes) words="720 1440" ;;
                configured | lockOnDismiss | offline | shuffle | attribution | desktop | *UpdatesNow) words="true false" ;;
            esac
            ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$2")
}

_corvella_sun() {
    local words="still clip host"
    if [ "$COMP_CWORD" -gt 1 ]; then
        case ${COMP_WORDS[1]} in
            still) words="--product --size --hours --seed --help" ;;
            clip) words="--product --size --start --hours --frames --fps --crf --preset --seed --mark --help" ;;
            host) words="--products --time --size --frames --crf --seed --help" ;;
        esac
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$2")
}

complete -F _corvella corvella
complete -F _corvella_defaults corvella-defaults
complete -o default -F _corvella_sun corvella-sun
