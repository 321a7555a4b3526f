/* Result codes of the vexa runtime. 2 is success; 0 and 1 are results of
 * test-like operators ("false", "true"), never failures. Everything above 2
 * is a failure whose text VErrorMessage gives. Ranges:
 *   1201-1220  wrong type of input control parameter 1..20
 *   1301-1320  wrong value of input control parameter 1..20
 *   1401-1420  wrong number of values of input control parameter 1..20
 *   2001-2009  wrong number of objects at input object parameter 1..9
 *   2101-2109  wrong object class at input object parameter 1..9
 *   3xxx       memory, 4xxx object database, 5xxx files and I/O,
 *   6xxx       image and region data, 9xxx instances and operator table,
 *   9201-9299  tool handles and the tools behind them,
 *   7001-7403  codes of the interface library's call frame. */
#ifndef VEXA_ERRORS_H
#define VEXA_ERRORS_H

#define VERR_CTRL_TYPE(i) (1201u + (unsigned)(i))   /* i counts from 0 */
#define VERR_CTRL_VALUE(i) (1301u + (unsigned)(i))
#define VERR_CTRL_NUM(i) (1401u + (unsigned)(i))
#define VERR_OBJ_NUM(i) (2000u + (unsigned)(i))     /* i counts from 1 */
#define VERR_OBJ_CLASS(i) (2100u + (unsigned)(i))

#define VERR_OUT_OF_MEMORY 3001u        /* not enough memory */
#define VERR_MEM_FREE 3002u             /* freeing memory not allocated here */
#define VERR_TOO_LARGE 3003u            /* requested size beyond the limits */

#define VERR_KEY_INVALID 4001u          /* key names no object */
#define VERR_KEY_DELETED 4002u          /* key names a deleted object */
#define VERR_NOT_KEY_TUPLE 4003u        /* object is not a key tuple */
#define VERR_NOT_REGION 4004u           /* object holds no region */
#define VERR_NOT_IMAGE 4005u            /* object holds no image */
#define VERR_NO_SYSTEM_OBJECT 4006u     /* unknown named system object */
#define VERR_OBJ_INDEX 4007u            /* object index out of range */
#define VERR_EMPTY_OBJECT 4008u         /* operator needs a non-empty object */

#define VERR_FILE_NOT_FOUND 5001u
#define VERR_FILE_READ 5002u
#define VERR_FILE_WRITE 5003u
#define VERR_FILE_FORMAT 5004u
#define VERR_FILE_TRUNCATED 5005u       /* file ends before its data */
#define VERR_FILE_CORRUPT 5006u         /* data contradict header or checksum */
#define VERR_FILE_UNSUPPORTED 5007u     /* known format, variant not readable */

#define VERR_PIXEL_TYPE 6001u           /* pixel type not supported here */
#define VERR_IMAGE_SIZE 6002u           /* image sizes do not match / invalid */
#define VERR_CHANNEL 6003u              /* channel index or count invalid */
#define VERR_COORD_RANGE 6004u          /* coordinate outside the image */

#define VERR_NOT_AVAILABLE 9001u        /* operator not available in this runtime */
#define VERR_OP_INDEX 9002u             /* no operator with this index */
#define VERR_OP_NAME 9003u              /* no operator with this name */
#define VERR_PROC_INVALID 9004u         /* not a valid operator instance */
#define VERR_PAR_INDEX 9005u            /* parameter number out of range */
#define VERR_INTERNAL 9006u             /* internal error of the runtime */
#define VERR_WINDOW_STACK_EMPTY 9101u   /* window stack is empty */
#define VERR_WINDOW_INVALID 9102u       /* not an open window */
#define VERR_NO_DISPLAY 9103u           /* no display for interactive input */
#define VERR_WINDOW_MODE 9104u          /* display mode not supported */
#define VERR_DISPLAY_OPEN 9105u         /* the display refused a window */
#define VERR_DRAW_CANCELLED 9106u       /* window closed while drawing */

#define VERR_HANDLE_INVALID 9201u       /* value was never a tool handle */
#define VERR_HANDLE_TYPE 9202u          /* handle of another kind of tool */
#define VERR_HANDLE_CLOSED 9203u        /* handle was closed already */
#define VERR_TIMEOUT 9204u              /* wait ended by its time limit */
#define VERR_NOT_OWNER 9205u            /* mutex not locked by this thread */
#define VERR_WAIT_ABORTED 9206u         /* waiting ended by an abort request */
#define VERR_QUEUE_FULL 9207u           /* message queue holds its maximum */
#define VERR_MSG_KEY 9208u              /* message holds no data of the key */
#define VERR_DEADLOCK 9209u             /* thread locks a mutex it holds */
#define VERR_SOCKET 9210u               /* socket operation refused */
#define VERR_SOCKET_CLOSED 9211u        /* connection closed by the peer */
#define VERR_DATA_KIND 9212u            /* serialised data of another kind */
#define VERR_MATRIX_SIZE 9220u          /* matrix sizes do not fit */
#define VERR_MATRIX_SINGULAR 9221u      /* matrix is singular */
#define VERR_MATRIX_FORM 9222u          /* matrix lacks the required form */
#define VERR_GRAB_SOURCE 9230u          /* frame grabber source unusable */
#define VERR_FILE_MODE 9231u            /* file not open for this access */
#define VERR_SYMBOLOGY 9250u            /* code type not supported by the decoder */
#define VERR_CODE_DESCR 9251u           /* not a bar code description */
#define VERR_CODE_RESULT_NA 9252u       /* result not available for this code */
#define VERR_CODE_UNREADABLE 9253u      /* elements or modules form no readable code */
#define VERR_MODEL_POINTS 9260u         /* model has too few edge points */
#define VERR_CAM_MODEL 9270u            /* camera parameters: unknown camera model */
#define VERR_CAM_PAR_NUM 9271u          /* camera parameters: count does not fit the model */
#define VERR_CAM_PAR_VALUE 9272u        /* camera parameters: value not a finite number */
#define VERR_CAM_FOCUS 9273u            /* camera parameters: focal length not positive */
#define VERR_CAM_CELL_SIZE 9274u        /* camera parameters: cell size not positive */
#define VERR_CAM_IMAGE_SIZE 9275u       /* camera parameters: image size not a positive integer */
#define VERR_CAM_DISTORTION 9276u       /* point outside the invertible range of the distortion */
#define VERR_CAM_BEHIND 9277u           /* point or intersection on or behind the camera */

#endif /* VEXA_ERRORS_H */
