# bash completion of dkomsql-exact: that of dkomsql, which registers both
_completion_loader dkomsql
