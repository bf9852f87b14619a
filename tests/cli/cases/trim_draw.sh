tlr2_replay trim --reference draw --frames 0-2 small.tlr2-capture out.tlr2-capture && tlr2_replay verify out.tlr2-capture >/dev/null; echo $?
