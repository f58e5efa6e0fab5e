# Gives each heading of a page the identifier by which the page links to it, with the page's name in front: those of all
# pages stand in one room.
FNR == 1 { page = FILENAME; sub(/.*\//, "", page); sub(/\.md$/, "", page) }
/^```/ { code = !code }
!code && /^##+ / { id = tolower($0); sub(/^#+ /, "", id); gsub(/ /, "-", id); $0 = $0 " {#" page "-" id "}" }
!code { gsub(/\]\(#/, "](#" page "-") }
{ print }
