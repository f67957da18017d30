# bash completion for kvx: what kvx --help lists.

_kvx() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
  local help
  help=$(kvx --help 2>/dev/null)
  case $before in
    --station | --grab | --link)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -d -- "$word")
      return ;;
    decode)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      return ;;
    --mode)
      mapfile -t COMPREPLY < <(compgen -W "classic best" -- "$word")
      return ;;
    rigsim)
      local kinds=${help#*KIND: }
      kinds=${kinds%%)*}
      mapfile -t COMPREPLY < <(compgen -W "${kinds//,/}" -- "$word")
      return ;;
  esac
  local words
  words=$(grep -oE '^  kvx [a-z]+|--headless decode|--[a-z]+' <<<"$help" | sed 's/^  kvx //')
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}
complete -F _kvx kvx
