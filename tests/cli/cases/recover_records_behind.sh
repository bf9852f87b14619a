for file in records_behind records_behind_open records_at_start no_frames_matrix_depth; do
  tlr2_replay recover $file.tlr2-capture out.tlr2-capture; echo $?
done
ls out* 2>/dev/null
:
