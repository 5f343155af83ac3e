#!/usr/bin/env bash
# The command-line tool at work.
set -eu

mkdir pictures pictures/sub
echo "A cat." >pictures/cat.txt
echo "Seen in May." >pictures/sub/note.txt

krstream create photos.kr -C pictures .   # pack a folder
krstream list photos.kr
krstream cat photos.kr sub/note.txt       # one entry to standard output
krstream extract photos.kr -C restored    # everything to files
krstream check photos.kr                  # what is wrong with it, if anything
diff -r pictures restored

echo "open sesame" >password.txt
krstream encrypt photos.kr --password-file password.txt
krstream cat photos.kr cat.txt --password-file password.txt

krstream repair photos.kr saved.kr --password-file password.txt
