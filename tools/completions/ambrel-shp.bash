# Completion of ambrel-shp for bash.

_ambrel_shp_shapefiles() {
    local path
    compopt -o filenames 2> /dev/null
    while IFS= read -r path; do
        if [[ -d $path || ${path,,} == *.@(shp|zip|shz) ]]; then
            COMPREPLY+=("$path")
        fi
    done < <(compgen -f -- "$1")
}

_ambrel_shp_words() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "$2")
}

_ambrel_shp() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local commands="info export check table select draw sql repair" command="" word
    COMPREPLY=()

    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ " $commands " == *" $word "* ]]; then
            command=$word
            break
        fi
    done

    case $previous in
        -o | --output)
            compopt -o filenames 2> /dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            return
            ;;
        --format)
            if [[ $command == sql ]]; then
                _ambrel_shp_words "csv json table" "$current"
                return
            fi
            _ambrel_shp_words "geojson geojsonseq csv gpkg shp" "$current"
            return
            ;;
        --geometry) _ambrel_shp_words "wkt xy wkb none" "$current"; return ;;
        --mode) _ambrel_shp_words "stream memory cache direct" "$current"; return ;;
        --encoding) _ambrel_shp_words "UTF-8 1252 1250 ISO-8859-1 ISO-8859-2 850 Big5" "$current"; return ;;
        --bbox | --where | --crs | --to-crs | --unpack-limit | --fields | --records | --limit | --precision | --output-encoding | --z-attribute | --size | --style) return ;;
    esac

    if [[ $current == -* ]]; then
        local options="--help --verbose"
        [ -z "$command" ] || options+=" --recursive --unpack-limit"
        case $command in
            "") options+=" --version" ;;
            info) options+=" --json --brief --encoding --crs" ;;
            export)
                options+=" --output --format --bbox --where --crs --to-crs --to-wgs84"
                options+=" --no-attributes --z-attribute --fields --records --limit --mode"
                options+=" --encoding --output-encoding --geometry --precision"
                options+=" --with-deleted --measures"
                ;;
            table) options+=" --fields --records --limit --encoding" ;;
            check) options+=" --all --quiet --json --encoding --crs" ;;
            select) options+=" --bbox --where --json --with-deleted" ;;
            repair) options+=" --output --encoding" ;;
            sql) options+=" --format --encoding" ;;
            draw) options+=" --records --where --output --size --bbox --crs --to-crs --style" ;;
        esac
        _ambrel_shp_words "$options" "$current"
        return
    fi

    if [[ -z $command ]]; then
        _ambrel_shp_words "$commands" "$current"
    fi
    _ambrel_shp_shapefiles "$current"
}

complete -F _ambrel_shp ambrel-shp
