# Which files are ours to format and lint.

source_folders=(include registry interface manager kit tools tests examples bench)

all_sources() {
    find "${source_folders[@]}" \( -name '*.h' -o -name '*.cpp' \) -print0
}
