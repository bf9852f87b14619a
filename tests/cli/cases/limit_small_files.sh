# What a file's numbers promise takes no memory when the file does not have it.
for name in most_textures most_blobs largest_blob longest_stream; do
  tlr2_replay info --max-memory 24 $name.tlr2-capture >/dev/null; echo $?
done
