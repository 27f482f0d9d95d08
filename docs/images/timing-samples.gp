# Draws the file that "Stop Sampling" writes: how long the bridge took to answer each request.
# usage: gnuplot -e "csv='/var/log/arcwright/korabridge.csv'" docs/images/timing-samples.gp
if (!exists("csv")) csv = "/var/log/arcwright/korabridge.csv"
if (!exists("picture")) picture = "timing-samples.png"

set terminal pngcairo size 1000,480 font "sans,11"
set output picture
set datafile separator ","
set xlabel "time since the first sample, ms"
set ylabel "request to response, ms"
set title "korabridge: time from request to response"
set logscale y
set yrange [0.005:20]
set format y "%g"
set grid
set key top right horizontal

# A row is the answer to the row before it when its message id is that one's with bit 31 set; a coherent take (0x55) is
# answered as a take (0x50). Rows between which another connection's row has come are left out.
response = 2147483648
time = 0
id = -1
elapsed(t, i, wanted) = (was = time, asked = id, time = t, id = i, \
    asked == wanted && i == response + (asked == 85 ? 80 : asked) ? t - was : NaN)

plot csv using 1:(elapsed($1, $2, 80)) with points pt 7 ps 0.6 title "take (0x50)", \
     csv using 1:(elapsed($1, $2, 85)) with points pt 5 ps 0.6 title "coherent take (0x55)", \
     csv using 1:(elapsed($1, $2, 83)) with points pt 9 ps 0.8 title "output changes (0x53)"
