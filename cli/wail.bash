# bash completion for wail
_wail()
{
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} words= files=
  local sound='--on-off --sense --reso --range --balance --invert --envelope --preset --bank --program'
  local render="$sound --automation --block --start --duration --tail --gain"
  local presets='wail preset 2>/dev/null | cut -d" " -f1'
  case $before in
    --preset) words=$(eval "$presets") files=yes ;;
    --on-off|--invert) words='on off' ;;
    --format) words='wav flac aiff caf w64 au pcm8 pcm16 pcm24 pcm32 float double' ;;
    -o|--output|--output-dir|--bank|--automation) files=yes ;;
    --sense|--reso|--range|--balance|--envelope|--program|--block|--start|--duration|--tail|--gain) ;;
    --channel|--max-frequency|--name) ;;
    *)
      files=yes
      case "${COMP_WORDS[*]:1:COMP_CWORD-1} " in
        'render '*)
          words="$render --output --output-dir --format --dither --quiet --verbose --help" ;;
        'plot '*) words="$render --output --channel --max-frequency --quiet --help" ;;
        'preset show '*) words="$(eval "$presets") --help" ;;
        'preset write '*) words="$sound --output --name --help" files= ;;
        'preset '*) words='show write --help' files= ;;
        'info '*) words='--json --help' files= ;;
        *) words='render plot preset info --help --version' files= ;;
      esac ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
  if [ -n "$files" ] && [[ $word != -* ]]; then
    compopt -o filenames
    mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -f -- "$word")
  fi
}
complete -F _wail wail
