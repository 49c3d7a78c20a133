"""Surveys an archive: describes and checks every file with the command `videoparams`, on as many machines as there are.

Run it with `python3 -m videoparams.survey`. docs/archives.md is its manual.
"""
