tlr2_replay report --isa sse4 --out page.html wrong_reference.tlr2-capture | sed "s/[0-9]* bytes/N bytes/"
tlr2_replay report --isa sse4 --out page.html wrong_reference.tlr2-capture >/dev/null; echo $?
tlr2_replay report --isa sse4 --out page.html --json wrong_reference.tlr2-capture | grep differ
tlr2_replay report --isa sse4 --out page.html --json small.tlr2-capture | grep -c '"differs": false'
tlr2_replay report --isa sse4 --out page.html --json unjudged.tlr2-capture >report.json; echo $?; grep '"differs"\|"verdict"' report.json
grep -o '<span class="dim">not judged[^<]*' page.html
grep -c "blue pixels cannot be judged" page.html; grep -o "img class=\"[a-z ]*\"" page.html | sort | uniq -c | tr -s " "
