# For the scripts that configure for an unknown machine, which source it before they change the folder.

# Prints the first CMake error in the log, on one line.
cmake_error() { sed -n '/^CMake Error/,/^Call Stack/{/^  /p}' "$1" | tr -s ' \n' ' ' | sed 's/^ //; s/ $//'; }

cmake_arguments=()
declare -A cmake_argument=() # their values by name

# read_cmake_arguments SCRIPT ARGUMENT...
#
# Fills both, or ends the script with 2. A relative path is relative to the user's folder, and CMake would take it as
# relative to the project's, so it is made absolute.
read_cmake_arguments() {
  local script=$1 argument name value
  shift
  for argument in "$@"; do
    if [[ ! $argument =~ ^-D([A-Za-z_][A-Za-z0-9_]*)(:[A-Z]+)?=(.*)$ ]]; then
      echo "$script: unknown argument '$argument'; only CMake's -D... (see --help)" >&2
      exit 2
    fi
    name=${BASH_REMATCH[1]}
    value=${BASH_REMATCH[3]}
    if [[ $name =~ (ROOT|DIR|PATH|COMPILER)$ && $value != /* && -e $value ]]; then value=$PWD/$value; fi
    cmake_arguments+=("-D$name=$value")
    cmake_argument[$name]=$value
  done
}
