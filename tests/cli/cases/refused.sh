for name in missing headless not_a_capture version3 cut spoiled overlapping matrix_depth wide_viewport unknown_record payload_outside; do tlr2_replay calls $name.tlr2-capture; echo $?; done
